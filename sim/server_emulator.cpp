#include "sim/server_emulator.h"

#include <QDateTime>
#include <QDir>
#include <QSaveFile>
#include <atomic>
#include <httplib.h>
#include <mutex>
#include <thread>

namespace {

constexpr char kLoopback[] = "127.0.0.1";
constexpr char kAnswerType[] = "text/xml; charset=utf-8";
constexpr char kContentType[] = "Content-Type";
constexpr char kContentLength[] = "Content-Length";
constexpr char kSetAsideContentType[] = "X-Upload-Content-Type";
constexpr time_t kKeepAliveSeconds = 1;
constexpr time_t kReadTimeoutSeconds = 3;
constexpr int kStartWaitMs = 5000;

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

} // namespace

struct ServerEmulator::Impl {
    Settings settings;
    httplib::Server server;
    std::thread thread;
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

        server.Post(exactPath(emulator::kLoginScript),
                    [this](const httplib::Request &request, httplib::Response &response) {
                        login(request, response);
                    });
        server.Get(exactPath(emulator::kLoginScript),
                   [this](const httplib::Request &, httplib::Response &response) {
                       finish(response, emulator::kLoginScript, {}, emulator::Result::GetForbidden);
                   });
        server.Post(exactPath(emulator::kUploadScript),
                    [this](const httplib::Request &request, httplib::Response &response) {
                        upload(request, response);
                    });
        server.Get(exactPath(emulator::kUploadScript),
                   [this](const httplib::Request &, httplib::Response &response) {
                       finish(response, emulator::kUploadScript, {}, emulator::Result::WrongMethod);
                   });

        // Header faults are answered before the body is read; the connection is then closed, since
        // its unread body cannot be told apart from a next request.
        //
        // A sound upload's Content-Type is moved aside, so that the library hands over the raw body
        // instead of parsing the multipart itself: its parser insists on a CRLF after the closing
        // delimiter, which the configurator (legitimately) never sends. The request object is the
        // library's own mutable one, passed here as const.
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
            result = store(data, &exchange.storedFile);
        finish(response, emulator::kUploadScript, exchange, result);
    }

    // Written to a temporary file and renamed into place, so an earlier upload is never touched
    // and a failed write leaves nothing half-written.
    emulator::Result store(const QByteArray &data, QString *storedFile)
    {
        if (!QDir().mkpath(settings.storageDir))
            return emulator::Result::TempFileFailed;
        const QString name =
            QStringLiteral("upload-%1-%2.bin")
                .arg(QDateTime::currentDateTimeUtc().toString(QStringLiteral("yyyyMMdd-HHmmss-zzz")))
                .arg(++uploadNumber, 6, 10, QLatin1Char('0'));
        QSaveFile file(QDir(settings.storageDir).filePath(name));
        if (!file.open(QIODevice::WriteOnly))
            return emulator::Result::TempFileFailed;
        if (file.write(data) != data.size() || !file.commit())
            return emulator::Result::ArchiveWriteFailed;
        *storedFile = file.fileName();
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
    if (d->thread.joinable()) {
        if (error)
            *error = QStringLiteral("the emulator is already running on port %1").arg(d->port);
        return false;
    }
    const int bound = port == 0 ? d->server.bind_to_any_port(kLoopback)
                                : (d->server.bind_to_port(kLoopback, port) ? int(port) : -1);
    if (bound <= 0) {
        if (error)
            *error = QStringLiteral("cannot listen on %1:%2").arg(QLatin1String(kLoopback)).arg(port);
        return false;
    }
    d->port = quint16(bound);
    d->thread = std::thread([this] { d->server.listen_after_bind(); });
    // stop() only reaches a server that has entered its accept loop, so wait for it.
    for (int waited = 0; !d->server.is_running() && waited < kStartWaitMs; ++waited)
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    if (!d->server.is_running()) {
        d->server.stop();
        d->thread.join();
        if (error)
            *error = QStringLiteral("the server on port %1 did not start").arg(d->port);
        return false;
    }
    return true;
}

void ServerEmulator::stop()
{
    if (!d->thread.joinable())
        return;
    d->server.stop();
    d->thread.join();
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
