#include "ShowHost/Console.h"

#include "ExternalController/Common/JsonReader.h"
#include "ExternalController/ExternalController.h"
#include "HostModels/Files/JsonFile.h"
#include "HostModels/HostModels.h"
#include "ShowHost/HostLog.h"

#if !defined(_WIN32)
#include <cerrno>
#include <csignal>

#include <fcntl.h>
#include <unistd.h>
#endif

namespace {

constexpr const char* kHelp[] = {
    "device list                 list the external control devices",
    "device put {JSON}           add a device, or replace the device with this DevId; see Docs/Devices.md",
    "device delete ID            delete a device",
    "help                        list these commands",
};

#if !defined(_WIN32)
constexpr std::size_t kMaxReadBytes = 4096;
#endif

SDevice ParseDevice(const QString& json)
{
    const QString source = QStringLiteral("device put");
    SJsonError error;
    const QJsonDocument document = ReadJson(json.toUtf8(), &error);
    if (!document.isObject()) {
        const QString reason = document.isNull() ? error.reason : QStringLiteral("it is an array");
        throw CFileError((source + ": not a JSON object: " + reason).toStdString());
    }
    return ReadDevice(CJsonObjectReader(source, document.object()));
}

QString NameOf(const SDevDataNode& device)
{
    return device.strName.isEmpty() ? device.devId.toString() : device.devId.toString() + ' ' + device.strName;
}

QString PlaceOf(const SDevDataNode& device)
{
    return device.nDevType == DeviceType::Udp
               ? QStringLiteral("UDP %1:%2").arg(device.strIp).arg(device.nPort)
               : QStringLiteral("serial %1 %2").arg(device.strOpenParam, device.strChannelParam).trimmed();
}

} // namespace

CConsole::CConsole(CExternalController& controller, CHostLog& log) : m_controller(controller), m_log(log) {}

bool CConsole::HasInput()
{
#if defined(_WIN32)
    return false; // QSocketNotifier can't watch standard input on Windows
#else
    return fcntl(STDIN_FILENO, F_GETFD) != -1;
#endif
}

void CConsole::Listen()
{
#if !defined(_WIN32)
    // A background process that reads from its terminal gets SIGTTIN, which stops it. Ignored, the read fails instead.
    std::signal(SIGTTIN, SIG_IGN);
    m_notifier = std::make_unique<QSocketNotifier>(STDIN_FILENO, QSocketNotifier::Read);
    connect(m_notifier.get(), &QSocketNotifier::activated, this, &CConsole::Read);
#endif
}

void CConsole::Read()
{
#if !defined(_WIN32)
    char bytes[kMaxReadBytes];
    const ssize_t count = read(STDIN_FILENO, bytes, sizeof bytes);
    if (count < 0 && (errno == EINTR || errno == EAGAIN))
        return;
    if (count > 0)
        m_input.append(bytes, static_cast<int>(count));
    else
        m_notifier->setEnabled(false);
    if (count == 0)
        m_input.append('\n'); // end of input: the last line may have no line feed
    for (int end = m_input.indexOf('\n'); end >= 0; end = m_input.indexOf('\n')) {
        const QByteArray line = m_input.left(end);
        m_input.remove(0, end + 1);
        CarryOut(QString::fromUtf8(line).trimmed());
    }
#endif
}

void CConsole::CarryOut(const QString& line)
{
    const QLatin1String put("device put ");
    const QLatin1String remove("device delete ");
    try {
        if (line.startsWith(put))
            PutDevice(line.mid(put.size()));
        else if (line.startsWith(remove))
            DeleteDevice(line.mid(remove.size()).trimmed());
        else if (line == QLatin1String("device list"))
            ListDevices();
        else if (line == QLatin1String("help"))
            Help();
        else if (!line.isEmpty())
            m_log.PrintAnswer(QStringLiteral("unknown command \"%1\"; \"help\" lists the commands").arg(line));
    } catch (const CFileError& error) {
        m_log.PrintAnswer(QString::fromUtf8(error.what()));
    }
}

void CConsole::Help()
{
    for (const char* line : kHelp)
        m_log.PrintAnswer(line);
}

void CConsole::PutDevice(const QString& json)
{
    const SDevice device = ParseDevice(json);
    const QUuid& id = device.node.devId;
    const int typeBefore = HostModels::Devices().GetExControlDevNode(id).nDevType;
    if (typeBefore == device.node.nDevType) {
        const bool kept = HostModels::Devices().Put(device);
        m_controller.UpdateExControlDev(id);
        Answer("changed " + NameOf(device.node), kept);
        return;
    }
    m_controller.DelExControlDev(id);
    const bool kept = HostModels::Devices().Put(device);
    m_controller.CreateExControlDev(id);
    Answer((typeBefore == DeviceType::None ? "added " : "changed ") + NameOf(device.node), kept);
}

void CConsole::DeleteDevice(const QString& id)
{
    const SDevDataNode device = HostModels::Devices().GetExControlDevNode(QUuid(id));
    if (device.nDevType == DeviceType::None)
        throw CFileError("device delete: no device has the id \"" + id.toStdString() + '"');
    m_controller.DelExControlDev(device.devId);
    Answer("deleted " + NameOf(device), HostModels::Devices().Delete(device.devId));
}

void CConsole::ListDevices()
{
    const auto current = HostModels::Devices().Current();
    for (const SDevice& device : current->devices)
        m_log.PrintAnswer(NameOf(device.node) + ": " + PlaceOf(device.node));
    m_log.PrintAnswer(QStringLiteral("%1 devices in %2").arg(current->devices.size()).arg(current->file));
}

void CConsole::Answer(const QString& text, bool kept)
{
    m_log.PrintAnswer(kept ? text
                           : text + "; the change can't be stored in " + HostModels::Devices().GetFileSavePath());
}
