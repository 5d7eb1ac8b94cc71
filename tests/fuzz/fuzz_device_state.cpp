// The simulator's state-file loader on any file content. A file it accepts saves and loads back to
// the same state.

#include "sim/device_model.h"
#include "tests/fuzz/fuzz_input.h"

#include <QFile>
#include <QTemporaryDir>

namespace
{

bool sameChannel(const sim::ChannelState &a, const sim::ChannelState &b)
{
    return a.counter == b.counter && a.identification == b.identification &&
           a.manufacturer == b.manufacturer && a.version == b.version && a.medium == b.medium &&
           a.vif == b.vif && a.durationMs == b.durationMs && a.appointment == b.appointment &&
           a.errorFlags == b.errorFlags && a.value == b.value && a.weight == b.weight;
}

bool sameState(const sim::DeviceModel &a, const sim::DeviceModel &b)
{
    for (int i = 0; i < sim::DeviceModel::kChannels; ++i) {
        if (!sameChannel(a.channels[size_t(i)], b.channels[size_t(i)]))
            return false;
    }
    return a.address == b.address && a.speedCode == b.speedCode && a.identification == b.identification &&
           a.manufacturer == b.manufacturer && a.mbusVersion == b.mbusVersion && a.medium == b.medium &&
           a.softwareVersion == b.softwareVersion && a.softwareCode == b.softwareCode &&
           a.buildNumber == b.buildNumber && a.reportDay == b.reportDay && a.accessNumber == b.accessNumber &&
           a.status == b.status && a.clockOffsetSecs == b.clockOffsetSecs &&
           a.journalClears == b.journalClears;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    static QTemporaryDir dir;
    const QString file = dir.filePath(QStringLiteral("state.json"));
    {
        QFile out(file);
        FUZZ_CHECK(out.open(QIODevice::WriteOnly | QIODevice::Truncate));
        FUZZ_CHECK(out.write(reinterpret_cast<const char *>(data), qint64(size)) == qint64(size));
    }
    sim::DeviceModel model;
    const sim::DeviceModel untouched = model;
    QString error;
    if (!model.load(file, &error)) {
        // A rejected file leaves the state as it was and says why.
        FUZZ_CHECK(!error.isEmpty());
        FUZZ_CHECK(sameState(model, untouched));
        return 0;
    }
    FUZZ_CHECK(model.baudRate() != 0);
    FUZZ_CHECK(model.save(file, &error));
    sim::DeviceModel again;
    FUZZ_CHECK(again.load(file, &error));
    FUZZ_CHECK(sameState(model, again));
    return 0;
}
