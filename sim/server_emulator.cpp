#include "sim/server_emulator.h"

#include "sim/upload_decoding.h"

#include <QDateTime>
#include <QDir>
#include <QJsonDocument>
#include <QSaveFile>
#include <atomic>
#include <httplib.h>
#include <mutex>
#include <sys/socket.h>
#include <thread>
#include <unistd.h>

namespace
{

constexpr char kLoopback[] = "127.0.0.1";
constexpr char kAnswerType[] = "text/xml; charset=utf-8";
constexpr char kContentType[] = "Content-Type";
constexpr char kContentLength[] = "Content-Length";
constexpr char kSetAsideContentType[] = "X-Upload-Content-Type";
constexpr time_t kKeepAliveSeconds = 1;
constexpr time_t kReadTimeoutSeconds = 3;

QByteArray headerOf(const httplib::Request &request, const char *name)
{
    if (!request.has_header(name))
        return {};
    return QByteArray::fromStdString(request.get_header_value(name));
}

// Route patterns are regular expressions: match the script's path literally.
std::string exactPath(const char *path)
{
    std::string pattern;
    for (const char *c = path; *c; ++c) {
        if (*c == '.')
            pattern += '\\';
        pattern += *c;
    }
    return pattern;
}

void answer(httplib::Response &response, emulator::Result result)
{
    response.status = 200;
    const QByteArray body = emulator::answerBody(result);
    response.set_content(body.constData(), size_t(body.size()), kAnswerType);
}

// The library's own stop() does nothing until its accept loop has begun, and closes the listening
// socket while the loop may still be about to use it. This server runs its loop on a thread of its
// own and ends it in any state: the socket is shut down through a duplicate, which fails a pending
// or coming accept at once, and closed only after the loop has returned.
class LoopbackServer : public httplib::Server
{
public:
    ~LoopbackServer() override { halt(); }

    // Binds 127.0.0.1:port (0: a free port) and starts the loop; the bound port, or 0.
    quint16 run(quint16 port)
    {
        const int bound =
            port == 0 ? bind_to_any_port(kLoopback) : (bind_to_port(kLoopback, port) ? int(port) : -1);
        if (bound <= 0)
            return 0;
        m_wake = ::dup(svr_sock_);
        if (m_wake < 0) {
            ::close(svr_sock_.exchange(INVALID_SOCKET));
            return 0;
        }
        // The loop closes the socket itself only when accept fails on its own, and then returns false.
        m_loop = std::thread([this] { m_loopClosedSocket = !listen_after_bind(); });
        return quint16(bound);
    }

    bool running() const { return m_loop.joinable(); }

    void halt()
    {
        if (!m_loop.joinable())
            return;
        const socket_t listening = svr_sock_.exchange(INVALID_SOCKET);
        ::shutdown(m_wake, SHUT_RDWR);
        m_loop.join();
        ::close(m_wake);
        if (!m_loopClosedSocket)
            ::close(listening);
    }

private:
    std::thread m_loop;
    int m_wake = -1;
    bool m_loopClosedSocket = false;
};

} // namespace

struct ServerEmulator::Impl {
    Settings settings;
    LoopbackServer server;
    quint16 port = 0;
    std::atomic<quint64> uploadNumber{0};

    mutable std::mutex mutex;
    QVector<Exchange> exchanges;
    std::function<void(const Exchange &)> observer;

    explicit Impl(const Settings &s) : settings(s) { route(); }

    void record(const Exchange &exchange)
    {
        std::function<void(const Exchange &)> notify;
        {
            const std::lock_guard<std::mutex> lock(mutex);
            exchanges << exchange;
            notify = observer;
        }
        if (notify)
            notify(exchange);
    }

    void route()
    {
        server.set_keep_alive_timeout(kKeepAliveSeconds);
        server.set_read_timeout(kReadTimeoutSeconds);
        server.set_payload_max_length(size_t(emulator::kMaxUploadBytes));

        routeScript(emulator::kLoginScript, &Impl::login, emulator::Result::GetForbidden);
        routeScript(emulator::kUploadScript, &Impl::upload, emulator::Result::WrongMethod);

        // Header faults are answered before the body is read; the connection is then closed, since
        // its unread body cannot be told apart from a next request.
        // A sound upload's Content-Type is set aside so that the library keeps the raw body: its
        // multipart parser, which a content receiver cannot bypass either, wants a CRLF after the
        // closing delimiter, and the configurator sends none. The request is the library's own
        // non-const object, handed to this handler as const.
        server.set_pre_routing_handler([this](const httplib::Request &request, httplib::Response &response) {
            if (request.path != emulator::kUploadScript || request.method != "POST")
                return httplib::Server::HandlerResponse::Unhandled;
            const QByteArray contentType = headerOf(request, kContentType);
            const emulator::Result result =
                emulator::judgeUploadHeaders(contentType, headerOf(request, kContentLength));
            if (result != emulator::Result::Ok) {
                response.set_header("Connection", "close");
                finish(response, emulator::kUploadScript, {}, result);
                return httplib::Server::HandlerResponse::Handled;
            }
            auto &headers = const_cast<httplib::Request &>(request).headers;
            headers.erase(kContentType);
            headers.emplace(kSetAsideContentType, contentType.toStdString());
            return httplib::Server::HandlerResponse::Unhandled;
        });

        // The body ended before its announced length.
        server.set_error_handler(httplib::Server::HandlerWithResponse([this](const httplib::Request &request,
                                                                             httplib::Response &response) {
            if (request.path != emulator::kUploadScript || response.status != 400)
                return httplib::Server::HandlerResponse::Unhandled;
            finish(response, emulator::kUploadScript, {},
                   emulator::judgeShortUpload(uploadContentType(request), headerOf(request, kContentLength)));
            return httplib::Server::HandlerResponse::Handled;
        }));
    }

    // POST runs the script; GET is answered with the script's refusal.
    void routeScript(const char *script, void (Impl::*post)(const httplib::Request &, httplib::Response &),
                     emulator::Result onGet)
    {
        server.Post(exactPath(script),
                    [this, post](const httplib::Request &request, httplib::Response &response) {
                        (this->*post)(request, response);
                    });
        server.Get(exactPath(script),
                   [this, script, onGet](const httplib::Request &, httplib::Response &response) {
                       finish(response, script, {}, onGet);
                   });
    }

    static QByteArray uploadContentType(const httplib::Request &request)
    {
        return request.has_header(kSetAsideContentType) ? headerOf(request, kSetAsideContentType)
                                                        : headerOf(request, kContentType);
    }

    void finish(httplib::Response &response, const char *script, Exchange exchange, emulator::Result result)
    {
        exchange.script = QString::fromLatin1(script);
        exchange.resultCode = static_cast<int>(result);
        answer(response, result);
        record(exchange);
    }

    void login(const httplib::Request &request, httplib::Response &response)
    {
        QMap<QString, QString> fields;
        for (const auto &param : request.params)
            fields.insert(QString::fromStdString(param.first), QString::fromStdString(param.second));
        Exchange exchange;
        exchange.login = fields.value(QStringLiteral("Login"));
        finish(response, emulator::kLoginScript, exchange, emulator::judgeLogin(fields, settings.users));
    }

    void upload(const httplib::Request &request, httplib::Response &response)
    {
        QByteArray data;
        emulator::Result result =
            emulator::judgeUpload(uploadContentType(request), headerOf(request, kContentLength),
                                  QByteArray::fromStdString(request.body), &data);
        Exchange exchange;
        if (result == emulator::Result::Ok)
            result = store(data, &exchange.storedFile, &exchange.decodedFile);
        finish(response, emulator::kUploadScript, exchange, result);
    }

    // Written to a temporary file and renamed into place, so an earlier upload is never touched
    // and a failed write leaves nothing half-written.
    emulator::Result store(const QByteArray &data, QString *storedFile, QString *decodedFile)
    {
        if (!QDir().mkpath(settings.storageDir))
            return emulator::Result::TempFileFailed;
        const QString name =
            QStringLiteral("upload-%1-%2")
                .arg(QDateTime::currentDateTimeUtc().toString(QStringLiteral("yyyyMMdd-HHmmss-zzz")))
                .arg(++uploadNumber, 6, 10, QLatin1Char('0'));
        const QString path = QDir(settings.storageDir).filePath(name);
        const emulator::Result stored = writeWhole(path + QStringLiteral(".bin"), data);
        if (stored != emulator::Result::Ok)
            return stored;
        *storedFile = path + QStringLiteral(".bin");
        // The decoded copy is a convenience: the upload as it came is what is kept.
        const QByteArray json = QJsonDocument(emulator::decodedUpload(data)).toJson();
        if (writeWhole(path + QStringLiteral(".json"), json) == emulator::Result::Ok)
            *decodedFile = path + QStringLiteral(".json");
        return emulator::Result::Ok;
    }

    static emulator::Result writeWhole(const QString &path, const QByteArray &bytes)
    {
        // Unbuffered, so a short write (a full disk) shows in write()'s count: a buffered QSaveFile
        // reports a failed final flush as committed.
        QSaveFile file(path);
        if (!file.open(QIODevice::WriteOnly | QIODevice::Unbuffered))
            return emulator::Result::TempFileFailed;
        if (file.write(bytes) != bytes.size() || !file.commit())
            return emulator::Result::ArchiveWriteFailed;
        return emulator::Result::Ok;
    }
};

ServerEmulator::ServerEmulator(const Settings &settings) : d(std::make_unique<Impl>(settings)) {}

ServerEmulator::~ServerEmulator()
{
    stop();
}

bool ServerEmulator::start(quint16 port, QString *error)
{
    if (d->server.running()) {
        if (error)
            *error = QStringLiteral("the emulator is already running on port %1").arg(d->port);
        return false;
    }
    const quint16 bound = d->server.run(port);
    if (bound == 0) {
        if (error)
            *error = QStringLiteral("cannot listen on %1:%2").arg(QLatin1String(kLoopback)).arg(port);
        return false;
    }
    d->port = bound;
    return true;
}

void ServerEmulator::stop()
{
    d->server.halt();
}

quint16 ServerEmulator::port() const
{
    return d->port;
}

QString ServerEmulator::baseAddress() const
{
    return QStringLiteral("http://%1:%2/").arg(QLatin1String(kLoopback)).arg(d->port);
}

QVector<ServerEmulator::Exchange> ServerEmulator::exchanges() const
{
    const std::lock_guard<std::mutex> lock(d->mutex);
    return d->exchanges;
}

void ServerEmulator::setObserver(std::function<void(const Exchange &)> observer)
{
    const std::lock_guard<std::mutex> lock(d->mutex);
    d->observer = std::move(observer);
}
