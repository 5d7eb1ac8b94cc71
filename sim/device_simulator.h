#pragma once

// A ZORVA device on the master side of a pseudo-terminal. The configurator opens portPath() (the
// slave side) like any serial port. Bytes are paced at the line rate, answers follow a turnaround
// pause, and faults can be injected into the next answer or into every answer.
//
// Everything runs on the caller's thread through the Qt event loop, so a form that waits in nested
// event loops in the same process still talks to the device.

#include "sim/device_model.h"
#include "sim/fault.h"

#include <QByteArray>
#include <QList>
#include <QObject>
#include <QString>
#include <memory>

namespace sim
{

class DeviceSimulator : public QObject
{
    Q_OBJECT
public:
    static constexpr int kDefaultTurnaroundMs = 30;
    static constexpr int kSplitGapMs = 300;

    explicit DeviceSimulator(QObject *parent = nullptr);
    ~DeviceSimulator() override;

    // Opens a pseudo-terminal; the device sits on the master side.
    bool start(QString *error = nullptr);
    void stop();
    bool isRunning() const;
    QString portPath() const; // the slave path the configurator opens, e.g. /dev/pts/7
    // A stable name for the port: replaces an existing symbolic link at linkPath; removed on stop().
    bool makeSymlink(const QString &linkPath, QString *error = nullptr);

    DeviceModel &model();
    const DeviceModel &model() const;

    void setFault(Fault fault, bool everyAnswer = false); // next answer only, or every answer
    Fault fault() const;
    void setTurnaroundMs(int ms); // pause between the request's end and the answer
    int turnaroundMs() const;
    void setSplitGapMs(int ms); // pause between the pieces of a split answer (default kSplitGapMs)

    QByteArray received() const;        // every byte that reached the device since clearTraffic()
    QList<QByteArray> requests() const; // each complete request frame recognised, in order
    QByteArray sent() const;            // every byte the device sent
    void clearTraffic();

signals:
    // A request was understood; `answer` holds the bytes the device is about to send (empty: silence).
    void requestHandled(const QByteArray &request, const QByteArray &answer);
    void modelChanged(); // a request changed the device's state (address, clock, channels, ...)
    void answerSent();   // the last byte of an answer has left the device

private:
    void receive();
    void answer(const RequestFrame &frame);
    void scheduleTransmit();
    void transmit();

    struct Private;
    std::unique_ptr<Private> d;
};

} // namespace sim
