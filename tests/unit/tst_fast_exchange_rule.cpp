// Fast exchange in pure code: which answer a request calls for, when the bytes so far make it whole,
// and when a wait ends (answer window, gap in the answer, cap).

#include "link/fast_exchange.h"
#include "link/frames.h"

#include <QtTest>

using exchange::AnswerState;
using exchange::AnswerWait;
Q_DECLARE_METATYPE(exchange::AnswerState)
Q_DECLARE_METATYPE(exchange::AnswerWait::Outcome)

namespace
{

QByteArray hex(const char *text)
{
    return QByteArray::fromHex(QByteArray(text));
}

// A register read answer with its CRC, and the same with the CRC's low byte off by one.
QByteArray readAnswer(const char *body)
{
    QByteArray frame = hex(body);
    const quint16 crc = frames::crc16(frame);
    frame.append(char(crc & 0xFF));
    frame.append(char(crc >> 8));
    return frame;
}

QByteArray spoiled(QByteArray frame, int fromEnd)
{
    frame[frame.size() - fromEnd] = char(frame.at(frame.size() - fromEnd) + 1);
    return frame;
}

const QByteArray kClockRequest = frames::registerRead(1, 8, 2);
const QByteArray kCounterWrite = frames::registerWrite(1, 8190, 2, 4, hex("00000000"));
const QByteArray kProbe = frames::mbusShort(0x40, 7);
const QByteArray kLongAnswer =
    frames::mbusLong(0x08, 1, 0x72, hex("785634125A6A0100000000000004FD3A0A000000"));

} // namespace

class TestFastExchangeRule : public QObject
{
    Q_OBJECT

private slots:
    void expectedAnswer_data();
    void expectedAnswer();
    void answerCheck_data();
    void answerCheck();
    void timing_data();
    void timing();
    void waitOutcome_data();
    void waitOutcome();
    void publishedSettings();
};

void TestFastExchangeRule::expectedAnswer_data()
{
    QTest::addColumn<QByteArray>("request");
    QTest::addColumn<int>("kind");
    QTest::addColumn<int>("function");
    QTest::addColumn<int>("count");
    QTest::newRow("SND_NKE") << kProbe << int(exchange::AnswerKind::Mbus) << 0 << 0;
    QTest::newRow("information request, long frame")
        << frames::mbusLong(0x53, 1, 0x51, hex("7F00")) << int(exchange::AnswerKind::Mbus) << 0 << 0;
    QTest::newRow("clock read, 2 registers")
        << kClockRequest << int(exchange::AnswerKind::RegisterRead) << 3 << 2;
    QTest::newRow("counter write") << kCounterWrite << int(exchange::AnswerKind::RegisterWrite) << 0x10 << 0;
    // Address 0x10 makes a register request start like a short frame; its sum does not fit one.
    QTest::newRow("register read from address 10")
        << frames::registerRead(0x10, 5, 1) << int(exchange::AnswerKind::RegisterRead) << 3 << 1;
}

void TestFastExchangeRule::expectedAnswer()
{
    QFETCH(QByteArray, request);
    QFETCH(int, kind);
    const exchange::ExpectedAnswer expected = exchange::expectedAnswerFor(request);
    QCOMPARE(int(expected.kind), kind);
    QTEST(int(expected.function), "function");
    QTEST(int(expected.count), "count");
}

void TestFastExchangeRule::answerCheck_data()
{
    QTest::addColumn<QByteArray>("request");
    QTest::addColumn<QByteArray>("bytes");
    QTest::addColumn<AnswerState>("state");
    QTest::addColumn<int>("start");
    QTest::addColumn<int>("length");

    const QByteArray clock = readAnswer("01030400001234");
    QTest::newRow("mbus: nothing yet") << kProbe << QByteArray() << AnswerState::NeedMore << 0 << 0;
    QTest::newRow("mbus: E5") << kProbe << hex("E5") << AnswerState::Complete << 0 << 1;
    QTest::newRow("mbus: noise, then E5") << kProbe << hex("3A0011E5") << AnswerState::Complete << 3 << 1;
    QTest::newRow("mbus: noise only") << kProbe << hex("3A0011") << AnswerState::NeedMore << 3 << 0;
    QTest::newRow("mbus: short frame") << kProbe << hex("105B015C16") << AnswerState::Complete << 0 << 5;
    QTest::newRow("mbus: long frame, header only")
        << kProbe << kLongAnswer.left(4) << AnswerState::NeedMore << 0 << 0;
    QTest::newRow("mbus: long frame, one byte short")
        << kProbe << kLongAnswer.left(kLongAnswer.size() - 1) << AnswerState::NeedMore << 0 << 0;
    QTest::newRow("mbus: long frame whole")
        << kProbe << kLongAnswer << AnswerState::Complete << 0 << int(kLongAnswer.size());
    QTest::newRow("mbus: noise with a stray short-frame start, then the long frame")
        << kProbe << hex("1022") + kLongAnswer.left(2) << AnswerState::NeedMore << 0 << 0;
    QTest::newRow("mbus: stray 10 proven noise, then the long frame")
        << kProbe << hex("1022334455") + kLongAnswer << AnswerState::Complete << 5 << int(kLongAnswer.size());
    QTest::newRow("mbus: long frame, wrong sum")
        << kProbe << spoiled(kLongAnswer, 2) << AnswerState::Invalid << 0 << 0;
    // An E5 among the data of a broken frame is not taken for an acknowledgement.
    QTest::newRow("mbus: long frame with E5 inside, wrong stop byte")
        << kProbe << spoiled(frames::mbusLong(0x08, 1, 0x72, hex("E5E5")), 1) << AnswerState::Invalid << 0
        << 0;
    QTest::newRow("mbus: long frame, L fields differ")
        << kProbe << hex("68050668") << AnswerState::NeedMore << 3 << 0;

    QTest::newRow("read: address only") << kClockRequest << hex("01") << AnswerState::NeedMore << 0 << 0;
    QTest::newRow("read: split after the byte count")
        << kClockRequest << clock.left(3) << AnswerState::NeedMore << 0 << 0;
    QTest::newRow("read: whole") << kClockRequest << clock << AnswerState::Complete << 0 << 9;
    QTest::newRow("read: noise before")
        << kClockRequest << hex("7F22") + clock << AnswerState::Complete << 2 << 9;
    QTest::newRow("read: wrong CRC") << kClockRequest << spoiled(clock, 1) << AnswerState::Invalid << 0 << 0;
    QTest::newRow("read: exception answer")
        << kClockRequest << readAnswer("018302") << AnswerState::Complete << 0 << 5;
    QTest::newRow("read: exception, CRC still to come")
        << kClockRequest << readAnswer("018302").left(3) << AnswerState::NeedMore << 0 << 0;
    QTest::newRow("read: another byte count is not this answer")
        << kClockRequest << readAnswer("0103020000") << AnswerState::NeedMore << 6 << 0;
    QTest::newRow("write: echo") << kCounterWrite << readAnswer("01101FFE0002") << AnswerState::Complete << 0
                                 << 8;
    QTest::newRow("write: echo, 7 of 8")
        << kCounterWrite << readAnswer("01101FFE0002").left(7) << AnswerState::NeedMore << 0 << 0;
    QTest::newRow("write: exception")
        << kCounterWrite << readAnswer("019003") << AnswerState::Complete << 0 << 5;
}

void TestFastExchangeRule::answerCheck()
{
    QFETCH(QByteArray, request);
    QFETCH(QByteArray, bytes);
    const exchange::AnswerCheck check = exchange::checkAnswer(exchange::expectedAnswerFor(request), bytes);
    QTEST(check.state, "state");
    QTEST(check.start, "start");
    QTEST(check.length, "length");
}

void TestFastExchangeRule::timing_data()
{
    QTest::addColumn<int>("baud");
    QTest::addColumn<int>("requestBytes");
    QTest::addColumn<int>("marginMs");
    QTest::addColumn<double>("windowMs");
    QTest::addColumn<double>("gapMs");
    // 5 characters of 11 bits, 330 bit times, 50 ms, the margin.
    QTest::newRow("probe at 2400, margin 50") << 2400 << 5 << 50 << 22.917 + 137.5 + 50 + 50 << 13.75 + 50;
    QTest::newRow("probe at 9600, margin 0") << 9600 << 5 << 0 << 5.729 + 34.375 + 50 << 20.0;
    QTest::newRow("register read at 1200, margin 20")
        << 1200 << 8 << 20 << 73.333 + 275.0 + 50 + 20 << 27.5 + 20;
}

void TestFastExchangeRule::timing()
{
    QFETCH(int, baud);
    QFETCH(int, requestBytes);
    QFETCH(int, marginMs);
    QFETCH(double, windowMs);
    QFETCH(double, gapMs);
    const exchange::AnswerTiming timing = exchange::answerTiming(baud, requestBytes, marginMs);
    QVERIFY2(qAbs(timing.windowMs - windowMs) < 0.01, qPrintable(QString::number(timing.windowMs)));
    QVERIFY2(qAbs(timing.gapMs - gapMs) < 0.01, qPrintable(QString::number(timing.gapMs)));
}

// Each step is "bytes received so far @ ms since the write"; the wait's outcome after the last step,
// and the deadline it then asks to be woken at.
void TestFastExchangeRule::waitOutcome_data()
{
    QTest::addColumn<QByteArray>("request");
    QTest::addColumn<QList<QByteArray>>("bytes");
    QTest::addColumn<QList<double>>("at");
    QTest::addColumn<AnswerWait::Outcome>("outcome");
    QTest::addColumn<double>("deadline");
    // Window 160.4 + 100 = 260.4 ms, gap 63.75 ms at 2400 baud with a 50 ms margin; cap 400 ms.
    const QByteArray clock = readAnswer("01030400001234");
    using O = AnswerWait::Outcome;
    QTest::newRow("nothing before the window")
        << kProbe << QList<QByteArray>{{}} << QList<double>{100} << O::Waiting << 260.417;
    QTest::newRow("nothing at the window")
        << kProbe << QList<QByteArray>{{}, {}} << QList<double>{100, 260.5} << O::Silent << 260.417;
    QTest::newRow("E5 ends at once") << kProbe << QList<QByteArray>{hex("E5")} << QList<double>{40}
                                     << O::Complete << 260.417;
    QTest::newRow("half an answer, then the gap")
        << kClockRequest << QList<QByteArray>{clock.left(4), clock.left(4)} << QList<double>{80, 144}
        << O::Stalled << 143.75;
    QTest::newRow("half an answer, more comes within the gap")
        << kClockRequest << QList<QByteArray>{clock.left(4), clock.left(6)} << QList<double>{80, 130}
        << O::Waiting << 193.75;
    // An answer that starts late is still awaited past the window.
    QTest::newRow("answer begun just before the window")
        << kClockRequest << QList<QByteArray>{clock.left(1), clock.left(1)} << QList<double>{255, 300}
        << O::Waiting << 318.75;
    QTest::newRow("wrong CRC ends after the gap")
        << kClockRequest << QList<QByteArray>{spoiled(clock, 1), spoiled(clock, 1)} << QList<double>{100, 170}
        << O::Invalid << 163.75;
    QTest::newRow("a babbling line ends at the cap")
        << kClockRequest << QList<QByteArray>{hex("77"), hex("7777"), hex("777777")}
        << QList<double>{50, 100, 400} << O::Capped << 163.75;
}

void TestFastExchangeRule::waitOutcome()
{
    QFETCH(QByteArray, request);
    QFETCH(QList<QByteArray>, bytes);
    QFETCH(QList<double>, at);
    QFETCH(AnswerWait::Outcome, outcome);
    QFETCH(double, deadline);
    AnswerWait wait(exchange::expectedAnswerFor(request), exchange::answerTiming(2400, 5, 50), 400);
    AnswerWait::Outcome last = AnswerWait::Outcome::Waiting;
    for (int i = 0; i < bytes.size(); ++i)
        last = wait.observe(bytes.at(i), at.at(i));
    QCOMPARE(last, outcome);
    QVERIFY2(qAbs(wait.deadlineMs() - deadline) < 0.01, qPrintable(QString::number(wait.deadlineMs())));
}

void TestFastExchangeRule::publishedSettings()
{
    QCOMPARE(exchange::publishedFastExchange().enabled, false);
    QCOMPARE(exchange::publishedFastExchange().marginMs, exchange::kDefaultMarginMs);
    exchange::publishFastExchange({true, 5000});
    QCOMPARE(exchange::publishedFastExchange().enabled, true);
    QCOMPARE(exchange::publishedFastExchange().marginMs, exchange::kMaxMarginMs);
}

QTEST_GUILESS_MAIN(TestFastExchangeRule)
#include "tst_fast_exchange_rule.moc"
