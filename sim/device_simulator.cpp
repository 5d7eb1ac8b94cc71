#include "sim/device_simulator.h"

#include "sim/protocol_engine.h"
#include "sim/pseudo_terminal.h"
#include "sim/request_assembler.h"

#include <QDateTime>
#include <QElapsedTimer>
#include <QRandomGenerator>
#include <QSocketNotifier>
#include <QTimer>
#include <algorithm>

namespace sim
{

namespace
{

constexpr int kBitsPerCharacter = 11; // start, 8 data, parity, stop
constexpr double kGapCharacters = 3.5;
// Event-loop latency must not be taken for a pause on the line.
constexpr qint64 kMinimumGapUs = 10000;
constexpr quint32 kNoiseSeed = 0x5A17;

qint64 characterUs(int baud)
{
    return baud > 0 ? kBitsPerCharacter * 1000000LL / baud : 0;
}

} // namespace

struct DeviceSimulator::Private {
    DeviceModel model;
    ProtocolEngine engine{model};
    RequestAssembler assembler;
    PseudoTerminal pty;
    QSocketNotifier *notifier = nullptr;
    QTimer txTimer;
    QElapsedTimer clock;
    QRandomGenerator random{kNoiseSeed};

    Fault fault = Fault::None;
    bool faultEveryAnswer = false;
    int turnaroundMs = kDefaultTurnaroundMs;
    int splitGapMs = kSplitGapMs;

    QByteArray received;
    QList<QByteArray> requests;
    QByteArray sent;

    qint64 rxLineFreeUs = 0; // when the last received byte has fully crossed the modelled line

    bool answering = false;
    int answerBaud = 0; // the speed the answer goes out at: the device's speed when asked
    QList<QByteArray> pieces;
    int pieceIndex = 0;
    int piecePos = 0;
    qint64 pieceStartUs = 0;

    qint64 nowUs() const { return clock.nsecsElapsed() / 1000; }
    int deviceBaud() const { return answering ? answerBaud : model.baudRate(); }
};

DeviceSimulator::DeviceSimulator(QObject *parent) : QObject(parent), d(new Private)
{
    d->txTimer.setSingleShot(true);
    d->txTimer.setTimerType(Qt::PreciseTimer);
    connect(&d->txTimer, &QTimer::timeout, this, [this] { transmit(); });
    d->clock.start();
}

DeviceSimulator::~DeviceSimulator()
{
    stop();
}

bool DeviceSimulator::start(QString *error)
{
    stop();
    QString reason;
    if (!d->pty.open(d->model.baudRate(), &reason)) {
        if (error)
            *error = reason;
        return false;
    }
    d->notifier = new QSocketNotifier(d->pty.masterFd(), QSocketNotifier::Read, this);
    connect(d->notifier, &QSocketNotifier::activated, this, [this] { receive(); });
    return true;
}

void DeviceSimulator::stop()
{
    delete d->notifier;
    d->notifier = nullptr;
    d->txTimer.stop();
    d->answering = false;
    d->pieces.clear();
    d->assembler.reset();
    d->pty.close();
}

bool DeviceSimulator::isRunning() const
{
    return d->pty.isOpen();
}

QString DeviceSimulator::portPath() const
{
    return d->pty.slavePath();
}

bool DeviceSimulator::makeSymlink(const QString &linkPath, QString *error)
{
    QString reason;
    if (!d->pty.isOpen())
        reason = QStringLiteral("the simulator is not started");
    else if (d->pty.link(linkPath, &reason))
        return true;
    if (error)
        *error = reason;
    return false;
}

DeviceModel &DeviceSimulator::model()
{
    return d->model;
}

const DeviceModel &DeviceSimulator::model() const
{
    return d->model;
}

void DeviceSimulator::setFault(Fault fault, bool everyAnswer)
{
    d->fault = fault;
    d->faultEveryAnswer = everyAnswer;
}

Fault DeviceSimulator::fault() const
{
    return d->fault;
}

void DeviceSimulator::setTurnaroundMs(int ms)
{
    d->turnaroundMs = std::max(0, ms);
}

void DeviceSimulator::setSplitGapMs(int ms)
{
    d->splitGapMs = std::max(0, ms);
}

int DeviceSimulator::turnaroundMs() const
{
    return d->turnaroundMs;
}

QByteArray DeviceSimulator::received() const
{
    return d->received;
}

QList<QByteArray> DeviceSimulator::requests() const
{
    return d->requests;
}

QByteArray DeviceSimulator::sent() const
{
    return d->sent;
}

void DeviceSimulator::clearTraffic()
{
    d->received.clear();
    d->requests.clear();
    d->sent.clear();
}

void DeviceSimulator::receive()
{
    const QByteArray bytes = d->pty.readAll();
    if (bytes.isEmpty())
        return;
    const qint64 now = d->nowUs();
    d->received.append(bytes);

    // A master at another speed produces only framing errors at the device: nothing is understood.
    const int baud = d->deviceBaud();
    if (d->pty.lineBaud() != baud) {
        d->assembler.reset();
        return;
    }
    const qint64 character = characterUs(baud);
    const qint64 gap = std::max(static_cast<qint64>(kGapCharacters * character), kMinimumGapUs);
    if (!d->assembler.pending().isEmpty() && now > d->rxLineFreeUs + gap)
        d->assembler.reset();
    d->rxLineFreeUs = std::max(now, d->rxLineFreeUs) + bytes.size() * character;

    for (const RequestFrame &frame : d->assembler.feed(bytes))
        answer(frame);
}

void DeviceSimulator::answer(const RequestFrame &frame)
{
    d->requests.append(frame.bytes);
    const int baudWhenAsked = d->deviceBaud();
    const EngineReply reply = d->engine.handle(frame, QDateTime::currentDateTimeUtc());
    QList<QByteArray> pieces;
    if (!reply.answer.isEmpty()) {
        pieces = answerPieces(reply.answer, frame, d->model.address, d->fault, d->random);
        if (!d->faultEveryAnswer)
            d->fault = Fault::None;
    }
    // A new request ends whatever was still being answered.
    d->txTimer.stop();
    d->answering = !pieces.isEmpty();
    d->answerBaud = baudWhenAsked;
    d->pieces = pieces;
    d->pieceIndex = 0;
    d->piecePos = 0;
    d->pieceStartUs = std::max(d->nowUs(), d->rxLineFreeUs) + d->turnaroundMs * 1000LL;

    emit requestHandled(frame.bytes, pieces.join());
    if (reply.changed)
        emit modelChanged();
    if (d->answering)
        scheduleTransmit();
}

void DeviceSimulator::scheduleTransmit()
{
    const qint64 due = d->pieceStartUs + (d->piecePos + 1) * characterUs(d->answerBaud);
    const qint64 waitUs = std::max<qint64>(0, due - d->nowUs());
    d->txTimer.start(static_cast<int>((waitUs + 999) / 1000));
}

void DeviceSimulator::transmit()
{
    if (!d->answering)
        return;
    const qint64 now = d->nowUs();
    const QByteArray &piece = d->pieces.at(d->pieceIndex);
    const qint64 character = characterUs(d->answerBaud);
    const qint64 elapsed = now - d->pieceStartUs;
    const int due = elapsed < 0 ? 0 : static_cast<int>(std::min<qint64>(piece.size(), elapsed / character));
    if (due > d->piecePos) {
        const QByteArray bytes = piece.mid(d->piecePos, due - d->piecePos);
        d->pty.write(bytes);
        d->sent.append(bytes);
        d->piecePos = due;
    }
    if (d->piecePos == piece.size()) {
        ++d->pieceIndex;
        d->piecePos = 0;
        if (d->pieceIndex == d->pieces.size()) {
            d->answering = false;
            d->pieces.clear();
            emit answerSent();
            return;
        }
        d->pieceStartUs = now + d->splitGapMs * 1000LL;
    }
    scheduleTransmit();
}

} // namespace sim
