#include "server/upload_request.h"
#include "sim/device_model.h"
#include "sim/server_emulator.h"
#include "tests/support/emulator_reply.h"

#include <QDir>
#include <QTemporaryDir>
#include <QtTest>

#include <csignal>
#include <sys/resource.h>

// Nothing the simulator and the emulator keep is lost or half-written: files written while the
// process may not write past a size limit (as on a full disk) fail and leave the file that was there
// whole; uploads announced larger than the emulator takes are refused before their body is read.

namespace
{

constexpr int kWaitMs = 5000;

// A ceiling on the size of any file this process writes; writes past it fail with EFBIG instead of
// raising SIGXFSZ.
class FileSizeLimit
{
public:
    explicit FileSizeLimit(rlim_t bytes)
    {
        getrlimit(RLIMIT_FSIZE, &m_previous);
        m_previousHandler = std::signal(SIGXFSZ, SIG_IGN);
        rlimit limit = m_previous;
        limit.rlim_cur = bytes;
        m_active = setrlimit(RLIMIT_FSIZE, &limit) == 0;
    }
    ~FileSizeLimit()
    {
        setrlimit(RLIMIT_FSIZE, &m_previous);
        std::signal(SIGXFSZ, m_previousHandler);
    }
    bool active() const { return m_active; }

private:
    rlimit m_previous{};
    void (*m_previousHandler)(int) = nullptr;
    bool m_active = false;
};

QByteArray readAll(const QString &path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

// A long frame as the device sends it: 68 L L 68 08 01 72, the header and `records` filler bytes.
QByteArray telegram(int records)
{
    QByteArray body = QByteArray::fromHex("080172785634125a2c010700000000");
    body += QByteArray(records, '\x2F');
    quint8 sum = 0;
    for (char c : body)
        sum = quint8(sum + quint8(c));
    const char length = char(body.size());
    return QByteArray("\x68") + length + length + '\x68' + body + char(sum) + '\x16';
}

// The result code of an upload of `data` through real HTTP, -1 without a well-formed answer. A
// non-null `contentLength` is announced instead of the body's own.
int uploadCode(quint16 port, const QByteArray &data, const QByteArray &contentLength = {})
{
    const QByteArray body = upload::body(data);
    const QByteArray request = QByteArray("POST /") + upload::kScript +
                               " HTTP/1.1\r\nHost: 127.0.0.1\r\nConnection: close\r\n"
                               "Content-Type: multipart/form-data; boundary=" +
                               upload::kBoundary + "\r\nContent-Length: " +
                               (contentLength.isNull() ? QByteArray::number(body.size()) : contentLength) +
                               "\r\n\r\n" + body;
    return replyCodeFor(port, request, kWaitMs);
}

} // namespace

class TestNothingLost : public QObject
{
    Q_OBJECT

private slots:
    void stateFileSurvives_data();
    void stateFileSurvives();
    void earlierUploadSurvives_data();
    void earlierUploadSurvives();
    void oversizedUploadRefused_data();
    void oversizedUploadRefused();
};

void TestNothingLost::stateFileSurvives_data()
{
    QTest::addColumn<int>("limit");
    QTest::newRow("no byte fits") << 0;
    QTest::newRow("a part fits") << 1000;
}

void TestNothingLost::stateFileSurvives()
{
    QFETCH(int, limit);
    QTemporaryDir dir;
    QVERIFY(dir.isValid());
    const QString path = dir.filePath(QStringLiteral("state.json"));
    sim::DeviceModel before;
    before.address = 5;
    QVERIFY(before.save(path));
    const QByteArray saved = readAll(path);
    QVERIFY(saved.size() > limit);

    sim::DeviceModel after;
    after.address = 9;
    after.channels[0].counter = 123456;
    QString error;
    bool written = true;
    {
        FileSizeLimit ceiling{rlim_t(limit)};
        QVERIFY(ceiling.active());
        written = after.save(path, &error);
    }
    QVERIFY2(!written, "a write past the size limit reported success");
    QVERIFY(!error.isEmpty());
    QCOMPARE(readAll(path), saved);
    QCOMPARE(QDir(dir.path()).entryList(QDir::Files | QDir::Hidden),
             QStringList{QStringLiteral("state.json")});
    sim::DeviceModel loaded;
    QVERIFY(loaded.load(path, &error));
    QCOMPARE(loaded.address, quint8(5));
}

void TestNothingLost::earlierUploadSurvives_data()
{
    QTest::addColumn<int>("limit");
    QTest::newRow("no byte fits") << 0;
    QTest::newRow("a part fits") << 4096;
}

void TestNothingLost::earlierUploadSurvives()
{
    QFETCH(int, limit);
    QTemporaryDir dir;
    QVERIFY(dir.isValid());
    ServerEmulator emulator({{}, dir.path()});
    QString error;
    QVERIFY2(emulator.start(0, &error), qPrintable(error));
    const QByteArray first = telegram(10);
    QCOMPARE(uploadCode(emulator.port(), first), 0);
    QDir storage(dir.path());
    const QStringList stored = storage.entryList(QDir::Files | QDir::Hidden);
    QVERIFY(!stored.isEmpty());
    QMap<QString, QByteArray> contents;
    for (const QString &name : stored)
        contents.insert(name, readAll(storage.filePath(name)));

    // Enough frames that the upload is larger than the limit.
    QByteArray second;
    while (second.size() <= 2 * limit + 512)
        second += telegram(200);
    int code = -1;
    {
        FileSizeLimit ceiling{rlim_t(limit)};
        QVERIFY(ceiling.active());
        code = uploadCode(emulator.port(), second);
    }
    QCOMPARE(code, 29);
    QCOMPARE(storage.entryList(QDir::Files | QDir::Hidden), stored);
    for (const QString &name : stored)
        QCOMPARE(readAll(storage.filePath(name)), contents.value(name));
    QCOMPARE(readAll(emulator.exchanges().first().storedFile), first);
}

void TestNothingLost::oversizedUploadRefused_data()
{
    QTest::addColumn<QByteArray>("contentLength");
    QTest::newRow("one byte past the limit") << QByteArray::number(emulator::kMaxUploadBytes + 1);
    QTest::newRow("past 64 bits") << QByteArray("99999999999999999999");
    QTest::newRow("past 64 bits by a whole 2^64") << QByteArray("18446744073709551620");
}

void TestNothingLost::oversizedUploadRefused()
{
    QFETCH(QByteArray, contentLength);
    QTemporaryDir dir;
    QVERIFY(dir.isValid());
    ServerEmulator emulator({{}, dir.path()});
    QString error;
    QVERIFY2(emulator.start(0, &error), qPrintable(error));
    QCOMPARE(uploadCode(emulator.port(), telegram(10), contentLength), 171);
    QCOMPARE(QDir(dir.path()).entryList(QDir::Files | QDir::Hidden), QStringList());
}

QTEST_GUILESS_MAIN(TestNothingLost)
#include "tst_nothing_lost.moc"
