#include "ExternalController/MsgSender/ExControlDevMsgSender.h"

#include "ExternalController/Common/HostModel.h"
#include "ExternalController/Common/JsonReader.h"
#include "Interfaces/DeviceChannels.h"
#include "Interfaces/ExControlDevModel.h"

#include <QFile>
#include <QJsonArray>
#include <QJsonObject>

#include <chrono>
#include <cstdint>
#include <string>
#include <vector>

namespace {

/// The local port of the datagrams to all devices: devices may identify the host by it.
constexpr unsigned short kLocalUdpPort = 25168;
constexpr std::size_t kUdpBufferBytes = 512;
constexpr std::size_t kSerialBufferBytes = 4096;

// The package fields that the host's serial library expects for a device command; their meaning is private to it.
constexpr std::uint8_t kSerialCommandFlag = 1;
constexpr std::uint32_t kSerialCommandValue = 100;

std::vector<QUuid> ReadDeviceIds(const QString& path)
{
    QFile file(path);
    if (!file.exists() || !file.open(QIODevice::ReadOnly))
        return {};
    // Convert to valid UTF-8 first: otherwise one invalid byte would make the whole file unreadable.
    const QByteArray text = QString::fromUtf8(file.readAll()).toUtf8();
    const QJsonArray devices = ReadJson(text).object()["ExControlDevData"].toArray();
    std::vector<QUuid> ids;
    for (const QJsonValue& device : devices)
        ids.push_back(QUuid::fromString(device.toObject()["DevId"].toString()));
    return ids;
}

/// The bytes to send. Hexadecimal data are sent as hexadecimal digits, which the device decodes.
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
    package->flag = kSerialCommandFlag;
    package->value = kSerialCommandValue;
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
