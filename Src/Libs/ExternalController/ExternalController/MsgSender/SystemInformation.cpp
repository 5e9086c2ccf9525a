#include "ExternalController/MsgSender/CloudReplies.h"

#include "ExternalController/Common/HostIdentity.h"
#include "ExternalController/Common/HostModel.h"
#include "ExternalController/Common/Percent.h"
#include "ExternalController/Common/Vocabulary.h"
#include "Interfaces/DeviceResource.h"
#include "Interfaces/PerformanceModel.h"
#include "Interfaces/PlayController.h"
#include "Interfaces/SceneMgrModel.h"
#include "Interfaces/ScreenModel.h"

#include <QHostAddress>
#include <QHostInfo>

namespace {

/// Length of the reported hardware address; adapters may have longer ones.
constexpr std::size_t kMacBytes = 6;
constexpr char kNoAddress[] = "0.0.0.0";

CReply DiskObject(const ZXPerformanceData::SDisk& disk)
{
    return {
        {"name", disk.name}, {"total", QString::number(disk.total)}, {"available", QString::number(disk.available)}};
}

CReply MemoryObject(const ZXPerformanceData::SMemoryModule& memory)
{
    return {{"number", memory.number},
            {"space", QString::number(memory.space)},
            {"frequency", QString::number(memory.frequency)}};
}

CReply ScreenResolution(const std::shared_ptr<const IScreenItem>& screen)
{
    const QString resolution = QStringLiteral("%1x%2").arg(screen->GetWidth()).arg(screen->GetHeight());
    return {{"name", screen->GetName()}, {"resolution", resolution}};
}

/// Returns the first IPv4 address to which the machine's name resolves, or "-".
QString HostAddress()
{
    const QList<QHostAddress> addresses = QHostInfo::fromName(QHostInfo::localHostName()).addresses();
    for (const QHostAddress& address : addresses) {
        if (address.protocol() == QAbstractSocket::IPv4Protocol)
            return address.toString();
    }
    return QStringLiteral("-");
}

} // namespace

CReply Network(const IP_ADAPTER_INFO* first)
{
    for (const IP_ADAPTER_INFO* adapter = first; adapter; adapter = adapter->Next) {
        const QString description = QString::fromLatin1(adapter->Description);
        if (adapter->IpAddressList.IpAddress.String == QLatin1String(kNoAddress))
            continue;
        return {{"type", description.contains(QLatin1String("Wi-Fi")) ? "wifi" : "lan"},
                {"status", "up"},
                {"ip", HostAddress()},
                {"subnetMask", adapter->IpAddressList.IpMask.String},
                {"gateway", adapter->GatewayList.IpAddress.String},
                {"mac", MacText(*adapter, kMacBytes)}};
    }
    return {};
}

CReply SystemInformation()
{
    const auto performance = GetModel(&CGlobalModel::GetPerformanceModel);
    const ZXPerformanceData::SSystemInfo machine = ReadFrom(performance, &CPerformanceModel::GetSystemInfo);
    const auto screens = ReadFrom(CScreenModel::GetInstance(), &CScreenModel::GetAllScreen);
    const QString format = ReadFrom(CGlobalModel::GetInstance(), &CGlobalModel::GetAppFormatName);
    const QString version = ReadFrom(CGlobalModel::GetInstance(), &CGlobalModel::GetAppVersion);
    const auto project = GetModel(&CGlobalModel::GetZXProject);
    const auto projects = ReadFrom(project, &CZXProject::GetProjectMgrList);
    CSceneMgrModel* scenes = CSceneMgrModel::GetInstance();
    const auto effect = ReadFrom(scenes, &CSceneMgrModel::GetGlobalProperty);
    CPlayController* player = GetPlayController();
    const bool hasChapter = scenes && player && player->GetGlobalPlayState() != PlayState::Stopped;
    const QUuid sceneId = ReadFrom(scenes, &CSceneMgrModel::GetCurPlayScene).second;

    return {{"system", machine.system},
            {"zentravoxType", kEditionName},
            {"cpu", QStringList{machine.cpu}},
            {"gpu", QStringList{machine.gpu}},
            {"syncCardConnected", false},
            {"hardDisk", CReplyArray(machine.disks, DiskObject)},
            {"memory", CReplyArray(machine.memory, MemoryObject)},
            {"screens", CReplyArray(screens, ScreenResolution)},
            {"verticalSynchronization", false},
            {"gpuDriveVersion", machine.gpuDriverVersion},
            {"office", machine.office},
            {"directX", ReadFrom(GetDeviceResource(), &CDeviceResource::GetDirectXVersion)},
            {"version", QString(format + ' ' + version)},
            {"luminance", effect ? Percent(effect->GetLuminance()) : 0},
            {"volume", effect && !effect->IsMute() ? Percent(effect->GetVolume()) : 0},
            {"projectPathLists",
             CReplyArray(projects, [](const SProjectMgrNode& node) { return ToWindowsSeparators(node.path); })},
            {"curProject", ToWindowsSeparators(ReadFrom(project, &CZXProject::GetProjectPath))},
            {"curChapterId", hasChapter ? sceneId.toString(QUuid::WithoutBraces) : QString()},
            {"network", Network(CAdapters().First())}};
}
