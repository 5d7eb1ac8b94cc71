#pragma once

// A device that gives one fixed answer to every request, for answers the simulator never gives (a
// 47-byte configuration answer, a foreign C field, an out-of-list speed index). It sits on the
// master side of a real pseudo-terminal.

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
    explicit ScriptedLine(const QByteArray &answer);
    ~ScriptedLine() override;

    bool open(QString *error);
    QString path() const { return m_pty.slavePath(); }
    QList<QByteArray> requests() const { return m_requests; }

private:
    void receive();

    sim::PseudoTerminal m_pty;
    QSocketNotifier *m_notifier = nullptr;
    const QByteArray m_answer;
    QByteArray m_pending;
    QList<QByteArray> m_requests;
};
