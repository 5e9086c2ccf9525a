#include "ShowHost/Console.h"

#include "AppServer/AppServerConfig.h"
#include "ExternalController/Common/Command.h"
#include "ExternalController/Common/JsonReader.h"
#include "ExternalController/ExternalController.h"
#include "HostModels/Files/JsonFile.h"
#include "HostModels/HostModels.h"
#include "HostModels/Show/HostShow.h"
#include "Interfaces/PlayController.h"
#include "Interfaces/ResourceModel.h"
#include "ShowHost/FaultRules.h"
#include "ShowHost/HostLog.h"

#include <functional>

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
    "fault add {JSON}            add a fault rule; see Docs/Traffic.md",
    "fault list                  list the fault rules",
    "fault remove N              remove the fault rule with this number",
    "fault clear                 remove all fault rules",
    "notify scene-changed        send the apps the notice that another scene plays",
    "notify resource-used ID [false]",
    "                            send the apps the notice that a resource is used, or with false not used any more",
    "notify resource-demuxed ID [false]",
    "                            send the apps the notice that a resource is ready to play, or with false not ready",
    "notify app-displaced        send the apps the notice that another app took over their login",
    "help                        list these commands",
};

#if !defined(_WIN32)
constexpr std::size_t kMaxReadBytes = 4096;
#endif

CJsonObjectReader ParseObject(const QString& source, const QString& json)
{
    SJsonError error;
    const QJsonDocument document = ReadJson(json.toUtf8(), &error);
    if (!document.isObject()) {
        const QString reason = document.isNull() ? error.reason : QStringLiteral("it is an array");
        throw CFileError((source + ": not a JSON object: " + reason).toStdString());
    }
    return CJsonObjectReader(source, document.object());
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
    const struct {
        QString start;
        std::function<void(const QString& arguments)> run;
    } commands[] = {
        {"device put ", [this](const QString& json) { PutDevice(json); }},
        {"device delete ", [this](const QString& id) { DeleteDevice(id); }},
        {"device list", [this](const QString&) { ListDevices(); }},
        {"fault add ", [this](const QString& json) { AddFault(json); }},
        {"fault remove ", [this](const QString& number) { RemoveFault(number); }},
        {"fault list", [this](const QString&) { ListFaults(); }},
        {"fault clear",
         [this](const QString&) {
             CFaults::GetInstance().Clear();
             m_log.PrintAnswer("removed all fault rules");
         }},
        {"notify ", [this](const QString& arguments) { Notify(arguments); }},
        {"help", [this](const QString&) { Help(); }},
    };
    try {
        for (const auto& [start, run] : commands) {
            // Only commands with arguments end with a space.
            if (start.endsWith(' ') ? line.startsWith(start) : line == start) {
                run(line.mid(start.size()).trimmed());
                return;
            }
        }
        if (!line.isEmpty())
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
    const SDevice device = ReadDevice(ParseObject("device put", json));
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

void CConsole::AddFault(const QString& json)
{
    const int number = CFaults::GetInstance().Add(ReadFault(ParseObject("fault add", json)));
    m_log.PrintAnswer(QStringLiteral("added fault %1").arg(number));
}

void CConsole::RemoveFault(const QString& number)
{
    m_log.PrintAnswer(
        QString(CFaults::GetInstance().Remove(number.toInt()) ? "removed fault %1" : "fault remove: no fault \"%1\"")
            .arg(number));
}

void CConsole::ListFaults()
{
    const auto faults = CFaults::GetInstance().List();
    for (const auto& fault : faults)
        m_log.PrintAnswer(QStringLiteral("fault %1: %2").arg(fault->number).arg(QString::fromStdString(fault->text)));
    m_log.PrintAnswer(QStringLiteral("%1 fault rules").arg(faults.size()));
}

/// Notifies the apps as if the event had happened. The show and its log are unchanged.
void CConsole::Notify(const QString& arguments)
{
    const QStringList words = arguments.split(' ', Qt::SkipEmptyParts);
    const QString event = words.value(0);
    const QUuid id(words.value(1));
    const bool flag = words.size() < 3;
    const bool isResource = !id.isNull() && (flag || words.mid(2) == QStringList("false"));
    const CShowReading reading;
    if (event == QLatin1String("scene-changed") && words.size() == 1)
        emit GetPlayController()->signalExControlNotifySceneChanged({}, {});
    else if (event == QLatin1String("app-displaced") && words.size() == 1)
        AppServer::SendToApps(Command::ReplyTo(Command::AppGone));
    else if (event == QLatin1String("resource-used") && isResource)
        emit CResourceModel::GetInstance()->signalExControlResourceUsedChanged(id, flag);
    else if (event == QLatin1String("resource-demuxed") && isResource)
        emit CResourceModel::GetInstance()->signalExControlResourceDexumerStateChanged(id, flag);
    else
        throw CFileError("notify: expected scene-changed, app-displaced, resource-used ID or resource-demuxed ID");
    m_log.PrintAnswer("notified: " + arguments);
}

void CConsole::Answer(const QString& text, bool kept)
{
    m_log.PrintAnswer(kept ? text
                           : text + "; the change can't be stored in " + HostModels::Devices().GetFileSavePath());
}
