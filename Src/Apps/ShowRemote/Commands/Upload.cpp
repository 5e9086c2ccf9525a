#include "ShowRemote/Commands/Commands.h"

#include "AppServer/AppServerConfig.h"
#include "Comm/PayloadText.h"
#include "ShowRemote/Console/CommandLine.h"
#include "ShowRemote/Console/Failure.h"
#include "ShowRemote/Console/Output.h"

#include <QElapsedTimer>
#include <QFile>
#include <QFileInfo>
#include <QUrl>

#include <asio/error.hpp>
#include <curl/curl.h>

#include <memory>

namespace {

constexpr char kDefaultUser[] = "demo";
constexpr char kDefaultPassword[] = "demo";

constexpr long kConnectMilliseconds = 10'000;
/// The upload fails if no byte is transferred, or a command gets no answer, for this long.
constexpr long kStalledSeconds = 60;
constexpr qint64 kProgressFromBytes = 10'000'000;
constexpr qint64 kProgressMilliseconds = 200;

struct STarget {
    QString host;
    QString user;
    QString password;
    QString name; ///< on the host; folders are separated by "/"
};

/// The state that the callbacks of libcurl share.
struct STransfer {
    QFile file;
    QString lastReply; ///< of the server, without its end of line, escaped
    bool showsProgress = false;
    QElapsedTimer sinceStart;
    qint64 nextProgress = 0;
};

std::size_t ReadFile(char* buffer, std::size_t size, std::size_t count, void* transfer)
{
    const qint64 read =
        static_cast<STransfer*>(transfer)->file.read(buffer, static_cast<qint64>(size) * static_cast<qint64>(count));
    return read < 0 ? CURL_READFUNC_ABORT : static_cast<std::size_t>(read);
}

std::size_t TakeReply(char* text, std::size_t size, std::size_t count, void* transfer)
{
    const QString line =
        PayloadText(QByteArray(text, static_cast<int>(size * count)).trimmed().left(kMaxShownCharacters));
    if (!line.isEmpty())
        static_cast<STransfer*>(transfer)->lastReply = line;
    return size * count;
}

int ShowProgress(void* context, curl_off_t, curl_off_t, curl_off_t total, curl_off_t sent)
{
    STransfer& transfer = *static_cast<STransfer*>(context);
    const qint64 elapsed = transfer.sinceStart.elapsed();
    if (total <= 0 || elapsed < transfer.nextProgress)
        return 0;
    transfer.nextProgress = elapsed + kProgressMilliseconds;
    Output::ShowProgress(QStringLiteral("%1 % of %2 MB").arg(100 * sent / total).arg(total / 1'000'000));
    return 0;
}

/// Percent-encodes the name (RFC 3986, 2.1) except for "/", which separates folders.
QByteArray UrlOf(const STarget& target)
{
    return QStringLiteral("ftp://%1:%2/").arg(target.host).arg(AppServer::kFtpPort).toUtf8() +
           QUrl::toPercentEncoding(target.name, "/");
}

CFailure FailureOf(CURL* curl, CURLcode code, const STarget& target, const STransfer& transfer)
{
    long osError = 0;
    curl_easy_getinfo(curl, CURLINFO_OS_ERRNO, &osError);
    switch (code) {
    case CURLE_COULDNT_RESOLVE_HOST:
        return CantResolve(target.host);
    case CURLE_COULDNT_CONNECT:
        return CantConnect(target.host, AppServer::kFtpPort,
                           asio::error_code(static_cast<int>(osError), asio::error::get_system_category()));
    case CURLE_LOGIN_DENIED:
        return CFailure(QStringLiteral("login denied: wrong user name or password for user \"%1\"").arg(target.user));
    case CURLE_READ_ERROR:
    case CURLE_ABORTED_BY_CALLBACK:
        return CFailure(QStringLiteral("can't read %1: %2").arg(transfer.file.fileName(), transfer.file.errorString()));
    case CURLE_OPERATION_TIMEDOUT:
        return CFailure("no answer from the host at " + AddressText(target.host, AppServer::kFtpPort));
    case CURLE_REMOTE_ACCESS_DENIED:
    case CURLE_UPLOAD_FAILED:
    case CURLE_PARTIAL_FILE:
    case CURLE_REMOTE_DISK_FULL:
        return CFailure(QStringLiteral("the host refused the upload: %1").arg(transfer.lastReply));
    default:
        return CFailure(QStringLiteral("the upload failed: %1").arg(curl_easy_strerror(code)));
    }
}

void Configure(CURL* curl, const STarget& target, STransfer& transfer)
{
    curl_easy_setopt(curl, CURLOPT_URL, UrlOf(target).constData());
    curl_easy_setopt(curl, CURLOPT_USERNAME, target.user.toUtf8().constData());
    curl_easy_setopt(curl, CURLOPT_PASSWORD, target.password.toUtf8().constData());
    curl_easy_setopt(curl, CURLOPT_UPLOAD, 1L);
    curl_easy_setopt(curl, CURLOPT_INFILESIZE_LARGE, static_cast<curl_off_t>(transfer.file.size()));
    curl_easy_setopt(curl, CURLOPT_FTP_CREATE_MISSING_DIRS, long{CURLFTP_CREATE_DIR});
    // Connect directly: the proxies in the environment are not for hosts in the local network.
    curl_easy_setopt(curl, CURLOPT_PROXY, "");
    curl_easy_setopt(curl, CURLOPT_NOSIGNAL, 1L);
    curl_easy_setopt(curl, CURLOPT_CONNECTTIMEOUT_MS, kConnectMilliseconds);
    curl_easy_setopt(curl, CURLOPT_FTP_RESPONSE_TIMEOUT, kStalledSeconds);
    curl_easy_setopt(curl, CURLOPT_LOW_SPEED_LIMIT, 1L);
    curl_easy_setopt(curl, CURLOPT_LOW_SPEED_TIME, kStalledSeconds);
    curl_easy_setopt(curl, CURLOPT_READFUNCTION, &ReadFile);
    curl_easy_setopt(curl, CURLOPT_READDATA, &transfer);
    curl_easy_setopt(curl, CURLOPT_HEADERFUNCTION, &TakeReply);
    curl_easy_setopt(curl, CURLOPT_HEADERDATA, &transfer);
    if (transfer.showsProgress) {
        curl_easy_setopt(curl, CURLOPT_NOPROGRESS, 0L);
        curl_easy_setopt(curl, CURLOPT_XFERINFOFUNCTION, &ShowProgress);
        curl_easy_setopt(curl, CURLOPT_XFERINFODATA, &transfer);
    }
}

void Upload(const STarget& target, STransfer& transfer)
{
    curl_global_init(CURL_GLOBAL_DEFAULT);
    const std::unique_ptr<CURL, decltype(&curl_easy_cleanup)> curl(curl_easy_init(), &curl_easy_cleanup);
    if (!curl)
        throw CFailure("can't initialize libcurl");
    Configure(curl.get(), target, transfer);

    transfer.sinceStart.start();
    const CURLcode code = curl_easy_perform(curl.get());
    if (transfer.showsProgress)
        Output::ShowProgress({});
    if (code != CURLE_OK)
        throw FailureOf(curl.get(), code, target, transfer);
    long reply = 0;
    curl_easy_getinfo(curl.get(), CURLINFO_RESPONSE_CODE, &reply);
    if (reply / 100 != 2)
        throw CFailure(QStringLiteral("the host didn't confirm the upload: %1").arg(transfer.lastReply));
}

void Open(QFile& file, const QString& name)
{
    file.setFileName(name);
    const QFileInfo info(name);
    if (!info.exists())
        throw CFailure(QStringLiteral("the file %1 doesn't exist").arg(name));
    if (!info.isFile())
        throw CFailure(QStringLiteral("%1 is not a file").arg(name));
    if (!file.open(QIODevice::ReadOnly | QIODevice::Unbuffered))
        throw CFailure(QStringLiteral("can't read %1: %2").arg(name, file.errorString()));
}

QString CheckedName(const QString& name)
{
    const QStringList parts = name.split('/');
    if (parts.contains(QString()) || parts.contains(".") || parts.contains(".."))
        throw CWrongUsage(
            QStringLiteral("--as: expected a relative path inside the upload folder, got \"%1\"").arg(name));
    return name;
}

} // namespace

int RunUpload(const QStringList& arguments)
{
    CCommandLine line("Upload a media file over FTP, as the mobile app.");
    line.AddArgument("FILE", "The file to upload.");
    line.AddHostOption();
    line.AddOption({"user", "Log in as the FTP user U (default demo).", "U", kDefaultUser});
    line.AddOption(
        {"password",
         QStringLiteral(
             "Log in with the password P (default: the environment variable %1, or demo if that is not set).")
             .arg(kPasswordVariable),
         "P"});
    line.AddOption(
        {"as", "Store the file as NAME on the host (default: the name of FILE). NAME can contain folders.", "NAME"});
    if (!line.Parse(arguments))
        return kExitDone;

    const QString file = line.Positional(1, 1).first();
    STarget target;
    target.host = line.Host();
    target.user = line.Value("user");
    target.password =
        line.IsSet("password") ? line.Value("password") : qEnvironmentVariable(kPasswordVariable, kDefaultPassword);
    target.name = line.IsSet("as") ? CheckedName(line.Value("as")) : QFileInfo(file).fileName();

    STransfer transfer;
    Open(transfer.file, file);
    transfer.showsProgress = transfer.file.size() > kProgressFromBytes && Output::IsErrorOnTerminal();
    Upload(target, transfer);
    Output::PrintLine(
        QStringLiteral("uploaded %1, %2 bytes, as %3").arg(file).arg(transfer.file.size()).arg(target.name));
    return kExitDone;
}
