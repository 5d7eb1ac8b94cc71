// Micro-benchmarks of the pure codecs: CRC-16, the M-Bus sum, the telegram decoder over the shared
// corpus, the channel configuration frame builder and the fast-exchange completion rule.

#include "common/hex_dump.h"
#include "common/mbus_telegram.h"
#include "device/channel_frames.h"
#include "link/fast_exchange.h"
#include "link/frames.h"

#include <QDir>
#include <QFile>
#include <QVector>
#include <benchmark/benchmark.h>

namespace
{

QByteArray pattern(int size)
{
    QByteArray bytes(size, '\0');
    for (int i = 0; i < size; ++i)
        bytes[i] = char(i * 37 + 11);
    return bytes;
}

QVector<QByteArray> corpus()
{
    QVector<QByteArray> frames;
    const QDir dir(QStringLiteral(ZORVA_SHARED_DIR "/mbus-frames/test-frames"));
    for (const QString &name : dir.entryList({QStringLiteral("*.hex")}, QDir::Files, QDir::Name)) {
        QFile file(dir.filePath(name));
        QByteArray frame;
        if (file.open(QIODevice::ReadOnly) && parseHexDump(QString::fromLatin1(file.readAll()), &frame))
            frames.append(frame);
    }
    return frames;
}

void crc16(benchmark::State &state)
{
    const QByteArray bytes = pattern(int(state.range(0)));
    for (auto _ : state)
        benchmark::DoNotOptimize(frames::crc16(bytes));
    state.SetBytesProcessed(state.iterations() * bytes.size());
}
BENCHMARK(crc16)->Arg(8)->Arg(255);

void mbusSum(benchmark::State &state)
{
    const QByteArray bytes = pattern(int(state.range(0)));
    for (auto _ : state)
        benchmark::DoNotOptimize(frames::sum8(bytes));
    state.SetBytesProcessed(state.iterations() * bytes.size());
}
BENCHMARK(mbusSum)->Arg(8)->Arg(255);

void telegramDecoderOverCorpus(benchmark::State &state)
{
    const QVector<QByteArray> frames = corpus();
    if (frames.isEmpty()) {
        state.SkipWithError("no frames in the shared corpus");
        return;
    }
    qint64 bytes = 0;
    for (const QByteArray &frame : frames)
        bytes += frame.size();
    for (auto _ : state) {
        for (const QByteArray &frame : frames) {
            mbus::Telegram telegram;
            benchmark::DoNotOptimize(mbus::decodeTelegram(frame, &telegram));
        }
    }
    state.SetItemsProcessed(state.iterations() * frames.size());
    state.SetBytesProcessed(state.iterations() * bytes);
}
BENCHMARK(telegramDecoderOverCorpus);

void channelConfigurationFrame(benchmark::State &state)
{
    device::ChannelRecord record;
    record.channelNumber = qint16(state.range(0));
    record.deviceNumberBytes = QByteArray::fromHex("12345678");
    record.vif = 0x13;
    record.weight = 0.01f;
    record.durationMs = 100;
    record.appointment = 1;
    device::ChannelWriteChoice choice;
    choice.appointment = choice.identification = choice.unit = choice.weight = choice.duration = true;
    device::FetchReplyFields reply;
    reply.deviceNumber = QByteArray::fromHex("78563412");
    reply.manufacturer = QByteArray::fromHex("566A");
    reply.value = QByteArray(4, '\0');
    for (auto _ : state)
        benchmark::DoNotOptimize(device::configurationFrame(1, record, choice, reply));
}
BENCHMARK(channelConfigurationFrame)->Arg(1)->Arg(16);

// The rule runs at every readyRead of a fast wait, over all the bytes so far.
void completionRuleLongFrame(benchmark::State &state)
{
    const QByteArray frame = frames::mbusLong(0x08, 1, 0x72, pattern(int(state.range(0))));
    const exchange::ExpectedAnswer expected = exchange::expectedAnswerFor(frames::mbusShort(0x7B, 1));
    for (auto _ : state)
        benchmark::DoNotOptimize(exchange::checkAnswer(expected, frame));
}
BENCHMARK(completionRuleLongFrame)->Arg(42)->Arg(246);

} // namespace
