#pragma once

// A pseudo-terminal pair. The device works on the master side; clients open the slave path. A slave
// descriptor stays open for the pair's lifetime, so the master never sees a hang-up while no client
// has the port open, and the line settings a client leaves behind stay readable.

#include <QByteArray>
#include <QString>

namespace sim
{

class PseudoTerminal
{
public:
    PseudoTerminal() = default;
    ~PseudoTerminal();
    PseudoTerminal(const PseudoTerminal &) = delete;
    PseudoTerminal &operator=(const PseudoTerminal &) = delete;

    // Opens the pair in raw mode with the line settings 8E1 at `baud` (as far as a pty keeps them).
    bool open(int baud, QString *error);
    void close();
    bool isOpen() const { return master_ >= 0; }
    int masterFd() const { return master_; }
    QString slavePath() const { return slavePath_; }

    // Speed the client set on its side of the line, in baud; 0 when unknown.
    int lineBaud() const;
    // Everything waiting on the master side (non-blocking).
    QByteArray readAll();
    // Writes what the slave side can take now; returns the number of bytes written.
    int write(const QByteArray &bytes);

    // Points a symbolic link at the slave path. An existing symbolic link is replaced; any other
    // file at that path is left alone and reported.
    bool link(const QString &linkPath, QString *error);
    void unlink();

private:
    int master_ = -1;
    int slave_ = -1;
    QString slavePath_;
    QString linkPath_;
};

} // namespace sim
