#pragma once

// A device that answers from a script, for answers the simulator never gives (a 47-byte
// configuration answer, a foreign C field, an out-of-list speed index). It sits on the master
// side of a real pseudo-terminal; each complete request takes the next scripted answer, whose
// pieces go out one after another with a gap between them.

#include "sim/pseudo_terminal.h"

#include <QByteArray>
#include <QList>
#include <QObject>
#include <QString>

class QSocketNotifier;

class ScriptedLine : public QObject
{
    Q_OBJECT
public:
    ScriptedLine();
    ~ScriptedLine() override;

    bool open(QString *error);
    QString path() const { return m_pty.slavePath(); }

    void addAnswer(const QByteArray &answer) { addAnswer(QList<QByteArray>{answer}, 0); }
    void addAnswer(const QList<QByteArray> &pieces, int gapMs);

    QList<QByteArray> requests() const { return m_requests; }

private:
    struct Answer {
        QList<QByteArray> pieces;
        int gapMs;
    };

    void receive();
    void sendPieces(QList<QByteArray> pieces, int gapMs);

    PseudoTerminal m_pty;
    QSocketNotifier *m_notifier = nullptr;
    QByteArray m_pending;
    QList<Answer> m_script;
    QList<QByteArray> m_requests;
};
