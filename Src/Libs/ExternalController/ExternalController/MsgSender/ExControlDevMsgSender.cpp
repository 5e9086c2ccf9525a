#include "ExternalController/MsgSender/ExControlDevMsgSender.h"

#include "ExternalController/Common/HostModel.h"
#include "ExternalController/Common/JsonReader.h"
#include "Interfaces/DeviceChannels.h"
#include "Interfaces/ExControlDevModel.h"

#include <QFile>
#include <QJsonArray>
#include <QJsonObject>

#include <chrono>
#include <string>
#include <vector>

namespace {

/// Every datagram to a device leaves from this port: devices may know the host by it.
constexpr unsigned short kLocalUdpPort = 25168;
constexpr std::size_t kUdpBufferBytes = 512;
constexpr std::size_t kSerialBufferBytes = 4096;

std::vector<QUuid> ReadDeviceIds(const QString& path)
{
    QFile file(path);
    if (!file.exists() || !file.open(QIODevice::ReadOnly))
        return {};
    // Decoded first: a byte that isn't UTF-8 spoils one character then and not the whole file.
    const QByteArray text = QString::fromUtf8(file.readAll()).toUtf8();
    const QJsonArray devices = ReadJson(text).object()["ExControlDevData"].toArray();
    std::vector<QUuid> ids;
    for (const QJsonValue& device : devices)
        ids.push_back(QUuid::fromString(device.toObject()["DevId"].toString()));
    return ids;
}

/// The hexadecimal form goes out as it is, as text: the device decodes it.
QByteArray PayloadOf(const SExControlCmdData& command)
{
    return command.nDataFormat == DeviceFormat::HexadecimalText ? command.strData.toLatin1().toHex()
                                                                : command.strData.toUtf8();
}

std::shared_ptr<Comm::RequestPackage> MakeSerialPackage(const std::string& payload)
{
    using namespace std::chrono;
    auto package = std::make_shared<Comm::RequestPackage>();
    package->sendStamp = duration_cast<milliseconds>(steady_clock::now().time_since_epoch()).count();
    package->data = payload;
    package->length = payload.size();
    package->flag = 1;
    package->value = 100;
    return package;
}

template <class Channel>
Channel* FindChannel(const std::map<QUuid, std::shared_ptr<Channel>>& channels, const QUuid& devId)
{
    const auto found = channels.find(devId);
    return found == channels.end() ? nullptr : found->second.get();
}

template <class Channel>
void CloseChannel(std::map<QUuid, std::shared_ptr<Channel>>& channels, const QUuid& devId)
{
    const auto found = channels.find(devId);
    if (found != channels.end())
        found->second.reset();
}

} // namespace

CExControlDevMsgSender::CExControlDevMsgSender() : CMsgSenderBase(nullptr, nullptr, nullptr, nullptr)
{
    SetSenderType(SenderType::ExControlDev);
    for (const QUuid& devId :
         ReadDeviceIds(ReadFrom(CExControlDevModel::GetInstance(), &CExControlDevModel::GetFileSavePath)))
        CExControlDevMsgSender::CreateExControlDev(devId);
}

bool CExControlDevMsgSender::HandleMsg(SOperation)
{
    return true;
}

void CExControlDevMsgSender::CreateExControlDev(const QUuid& devId)
{
    const SDevDataNode device =
        ReadFrom(CExControlDevModel::GetInstance(), &CExControlDevModel::GetExControlDevNode, devId);
    if (device.nDevType == DeviceType::Serial) {
        auto channel = std::make_shared<Comm::COMChannel>(kSerialBufferBytes, device.strChannelParam.toStdString());
        channel->Open(device.strOpenParam.toStdString());
        m_comChannels[devId] = std::move(channel);
    } else if (device.nDevType == DeviceType::Udp) {
        auto channel = std::make_shared<Comm::UDPClientChannel>(kUdpBufferBytes);
        channel->Init({}, kLocalUdpPort);
        m_udpChannels[devId] = std::move(channel);
    }
}

void CExControlDevMsgSender::UpdateExControlDev(const QUuid& devId)
{
    DelExControlDev(devId);
    CreateExControlDev(devId);
}

void CExControlDevMsgSender::DelExControlDev(const QUuid& devId)
{
    const SDevDataNode device =
        ReadFrom(CExControlDevModel::GetInstance(), &CExControlDevModel::GetExControlDevNode, devId);
    if (device.nDevType == DeviceType::Serial)
        CloseChannel(m_comChannels, devId);
    else if (device.nDevType == DeviceType::Udp)
        CloseChannel(m_udpChannels, devId);
}

void CExControlDevMsgSender::SendExControlCmd(const QUuid& devId, const QUuid& cmdId)
{
    const SDevDataNode device =
        ReadFrom(CExControlDevModel::GetInstance(), &CExControlDevModel::GetExControlDevNode, devId);
    if (device.nDevType < 0)
        return;
    const SExControlCmdData command = device.commands.value(qHash(cmdId));
    if (command.cmdId.isNull())
        return;

    const std::string payload = PayloadOf(command).toStdString();
    if (device.nDevType == DeviceType::Udp) {
        if (Comm::UDPClientChannel* channel = FindChannel(m_udpChannels, devId))
            channel->SendTo(payload, device.strIp.toStdString(), device.nPort);
    } else if (device.nDevType == DeviceType::Serial) {
        if (Comm::COMChannel* channel = FindChannel(m_comChannels, devId))
            channel->AsyncSend(MakeSerialPackage(payload));
    }
}
