#include "HostModels/Files/DeviceFile.h"

#include "Comm/LineSettings.h"
#include "HostModels/Files/JsonFile.h"

#include <QFileInfo>
#include <QJsonArray>
#include <QSet>

#include <asio/ip/address_v4.hpp>

#include <algorithm>

namespace {

constexpr char kDevices[] = "ExControlDevData";

void ReadUdp(const CJsonObjectReader& reader, SDevDataNode& device)
{
    reader.AllowOnly({"DevId", "Name", "Type", "Ip", "Port", "Commands"});
    device.strIp = reader.RequiredText("Ip");
    asio::error_code error;
    asio::ip::make_address_v4(device.strIp.toStdString(), error);
    if (error)
        reader.Fail("Ip", "must be an IPv4 address such as \"192.168.0.20\"");
    if (!reader.Has("Port"))
        reader.Fail("Port", "is missing");
    device.nPort = static_cast<std::uint16_t>(reader.Number("Port", 0, 1, 65535));
}

void ReadSerial(const CJsonObjectReader& reader, SDevDataNode& device)
{
    reader.AllowOnly({"DevId", "Name", "Type", "PortName", "LineSettings", "Commands"});
    device.strOpenParam = reader.RequiredText("PortName");
    device.strChannelParam = reader.Text("LineSettings", {});
    std::string reason;
    if (!ReadLineSettings(device.strChannelParam.toStdString(), reason))
        reader.Fail("LineSettings", QString::fromStdString(reason));
}

QHash<uint, SExControlCmdData> ReadCommands(const CJsonObjectReader& device)
{
    QHash<uint, SExControlCmdData> commands;
    for (const CJsonObjectReader& reader : device.Objects("Commands")) {
        reader.AllowOnly({"CmdId", "Name", "Format", "Data"});
        SExControlCmdData command;
        command.cmdId = reader.RequiredId("CmdId");
        command.strName = reader.Text("Name", {});
        command.nDataFormat = reader.Choice("Format", DeviceFormat::Text, {"text", "hexadecimal text"});
        command.strData = reader.RequiredText("Data");
        if (command.nDataFormat == DeviceFormat::HexadecimalText &&
            std::any_of(command.strData.begin(), command.strData.end(), [](QChar c) { return c.unicode() > 0xff; }))
            reader.Fail("Data", "hexadecimal text can contain Latin-1 characters only");
        const uint key = qHash(command.cmdId);
        if (commands.contains(key))
            reader.Fail("CmdId", commands[key].cmdId == command.cmdId
                                     ? "another command of the device has this id"
                                     : "this id and that of another command have the same qHash value; use another id");
        commands.insert(key, command);
    }
    return commands;
}

} // namespace

SDevice ReadDevice(const CJsonObjectReader& reader)
{
    SDevice device{{}, reader.Json()};
    SDevDataNode& node = device.node;
    node.devId = reader.RequiredId("DevId");
    device.json["DevId"] = node.devId.toString();
    node.strName = reader.Text("Name", {});
    reader.RequiredText("Type");
    node.nDevType = reader.Choice("Type", DeviceType::None, {"udp", "serial"});
    if (node.nDevType == DeviceType::Udp)
        ReadUdp(reader, node);
    else
        ReadSerial(reader, node);
    node.commands = ReadCommands(reader);
    return device;
}

std::vector<SDevice> ReadDeviceFile(const QString& file)
{
    std::vector<SDevice> devices;
    if (!QFileInfo::exists(file))
        return devices;
    const CJsonObjectReader top(file);
    top.AllowOnly({kDevices});
    QSet<QUuid> ids;
    for (const CJsonObjectReader& reader : top.Objects(kDevices)) {
        devices.push_back(ReadDevice(reader));
        const QUuid& id = devices.back().node.devId;
        if (ids.contains(id))
            reader.Fail("DevId", "another device has this id");
        ids.insert(id);
    }
    return devices;
}

QJsonObject DeviceFileOf(const std::vector<SDevice>& devices)
{
    QJsonArray array;
    for (const SDevice& device : devices)
        array.append(device.json);
    return {{kDevices, array}};
}
