#include "HostModels/HostExControlDevModel.h"
#include "HostModels/JsonFile.h"
#include "HostModels/ShowFile.h"

#include <QFile>
#include <QJsonArray>
#include <QJsonDocument>
#include <QTemporaryDir>

#include <gmock/gmock.h>

using testing::ElementsAre;
using testing::StartsWith;

namespace {

const QUuid kLights("{75abf6a9-add1-4262-84c2-217f41365491}");
const QUuid kOn("{36a6ddef-2d1b-4c35-a2c3-dd4e729dda12}");
constexpr char kUdp[] = R"("DevId": "{75abf6a9-add1-4262-84c2-217f41365491}", "Type": "udp", "Ip": "10.0.0.2")";
constexpr char kSerial[] = R"("DevId": "a64ab059-cad4-4f84-835c-c78571676010", "Type": "serial", "PortName": "COM3")";
constexpr char kCommand[] = R"("CmdId": "{36a6ddef-2d1b-4c35-a2c3-dd4e729dda12}", "Data": "x")";

QString Device(const char* begin, const QString& more = {})
{
    return QStringLiteral("{%1%2}").arg(QLatin1String(begin), more);
}

class DeviceFileTest : public testing::Test {
protected:
    QString Write(const QString& text, const QString& name = "Devices.json")
    {
        QFile file(m_folder.filePath(name));
        EXPECT_TRUE(file.open(QIODevice::WriteOnly));
        file.write(text.toUtf8());
        return file.fileName();
    }

    QString WriteDevices(const QString& devices) { return Write("{\"ExControlDevData\": [" + devices + "]}"); }

    QTemporaryDir m_folder;
};

} // namespace

TEST_F(DeviceFileTest, ABadFileIsToldWithPlaceAndReason)
{
    const QString command = QLatin1String(kCommand);
    const struct {
        QString devices;
        const char* complaint;
    } cases[] = {
        {"5", "ExControlDevData[0]: must be an object"},
        {"{}", "ExControlDevData[0].DevId: is missing or empty"},
        {Device(R"("DevId": "7", "Type": "udp")"), "ExControlDevData[0].DevId: must be an id such as "},
        {Device(R"("DevId": "{75abf6a9-add1-4262-84c2-217f41365491}")"),
         "ExControlDevData[0].Type: is missing or empty"},
        {Device(R"("DevId": "{75abf6a9-add1-4262-84c2-217f41365491}", "Type": "midi")"),
         "ExControlDevData[0].Type: must be one of \"udp\", \"serial\""},
        {Device(kUdp), "ExControlDevData[0].Port: is missing"},
        {Device(kUdp, R"(, "Port": 0)"), "ExControlDevData[0].Port: must be a number from 1 to 65535"},
        {Device(kUdp, R"(, "Port": 1, "PortName": "COM3")"), "ExControlDevData[0].PortName: there is no such key"},
        {Device(R"("DevId": "{75abf6a9-add1-4262-84c2-217f41365491}", "Type": "udp", "Ip": "10.1")"),
         "ExControlDevData[0].Ip: must be an IPv4 address such as"},
        {Device(kSerial, R"(, "LineSettings": "9600,8,X")"),
         "ExControlDevData[0].LineSettings: the parity must be one of N, O, E, not \"X\""},
        {Device(kSerial) + ", " + Device(kSerial), "ExControlDevData[1].DevId: another device has this id"},
        {Device(kSerial, ", \"Commands\": [{" + command + "}, {" + command + "}]"),
         "ExControlDevData[0].Commands[1].CmdId: another command of the device has this id"},
        {Device(kSerial, ", \"Commands\": [{" + command + ", \"Format\": \"binary\"}]"),
         "ExControlDevData[0].Commands[0].Format: must be one of \"text\", \"hexadecimal text\""},
        {Device(kSerial, QString::fromUtf8(R"(, "Commands": [{"CmdId": "{36a6ddef-2d1b-4c35-a2c3-dd4e729dda12}",
                                              "Data": "☃", "Format": "hexadecimal text"}])")),
         "ExControlDevData[0].Commands[0].Data: hexadecimal text has room for Latin-1 characters only"},
    };
    CHostExControlDevModel model;

    for (const auto& [devices, complaint] : cases) {
        const QString file = WriteDevices(devices);
        try {
            model.Load(file);
            ADD_FAILURE() << "no complaint, but expected: " << complaint;
        } catch (const CFileError& error) {
            EXPECT_THAT(error.what(), StartsWith(file.toStdString() + ": " + complaint));
        }
    }
    EXPECT_TRUE(model.Current()->devices.empty());
}

TEST_F(DeviceFileTest, ChangesAreKeptWithAllThatTheFileSays)
{
    const QString file = WriteDevices(Device(kSerial));
    CHostExControlDevModel model;
    model.Load(file);
    QJsonObject lights = QJsonDocument::fromJson(Device(kUdp, R"(, "Port": 9, "Name": "Bühne")").toUtf8()).object();
    lights["Commands"] = QJsonArray{QJsonObject{{"CmdId", kOn.toString()}, {"Data", "a"}, {"Name", "On"}},
                                    QJsonObject{{"CmdId", QUuid::createUuid().toString()}, {"Data", "b"}}};

    EXPECT_TRUE(model.Put(ReadDevice({"test", lights})));
    lights["Port"] = 10;
    EXPECT_TRUE(model.Put(ReadDevice({"test", lights})));

    CHostExControlDevModel again;
    again.Load(file);
    const SDevDataNode node = again.GetExControlDevNode(kLights);
    EXPECT_EQ(node.nDevType, DeviceType::Udp);
    EXPECT_EQ(node.nPort, 10);
    EXPECT_EQ(node.commands.value(qHash(kOn)).strName, "On");
    ASSERT_EQ(again.Current()->devices.size(), 2U);
    EXPECT_EQ(again.Current()->devices[1].json, lights);
    // Whoever reads the file by himself finds ids in braces.
    EXPECT_EQ(ReadJsonObject(file)["ExControlDevData"].toArray()[0].toObject()["DevId"],
              "{a64ab059-cad4-4f84-835c-c78571676010}");

    EXPECT_TRUE(model.Delete(kLights));
    again.Load(file);
    EXPECT_EQ(again.GetExControlDevNode(kLights).nDevType, DeviceType::None);
    EXPECT_EQ(again.Current()->devices.size(), 1U);
}

TEST_F(DeviceFileTest, ADeviceThatCannotBeKeptHoldsUntilTheEnd)
{
    CHostExControlDevModel model;
    model.Load(m_folder.filePath("no such folder/Devices.json"));

    const QJsonObject lights = QJsonDocument::fromJson(Device(kUdp, R"(, "Port": 9)").toUtf8()).object();
    EXPECT_FALSE(model.Put(ReadDevice({"test", lights})));

    EXPECT_EQ(model.GetExControlDevNode(kLights).nPort, 9);
}

TEST_F(DeviceFileTest, AShowNamesItsDeviceFileAndItsScenesTheirCommands)
{
    const SShowFile file = ReadShowFile(Write(R"({"name": "a", "devices": "Stage/Devices.json", "projects": [
        {"id": "00000000-0000-4000-8000-000000000001", "name": "p", "groups": [
            {"id": "00000000-0000-4000-8000-000000000002", "name": "g", "scenes": [
                {"id": "00000000-0000-4000-8000-000000000003", "name": "s",
                 "endCommands": [{"device": "00000000-0000-4000-8000-000000000004",
                                  "command": "00000000-0000-4000-8000-000000000005"}],
                 "startCommands": [{"device": "00000000-0000-4000-8000-000000000006",
                                    "command": "00000000-0000-4000-8000-000000000007"},
                                   {"device": "00000000-0000-4000-8000-000000000004",
                                    "command": "00000000-0000-4000-8000-000000000008"}]}]}]}]})",
                                              "show.zxc"));

    EXPECT_EQ(file.deviceFile, m_folder.filePath("Stage/Devices.json"));
    std::vector<SSceneExControlCmd> commands(1);
    file.show.Project()->groups[0]->scenes[0]->node.GetAllExControlCmd(commands);
    std::vector<std::string> read;
    for (const SSceneExControlCmd& command : commands)
        read.push_back(std::to_string(command.nTriggerType) + command.devId.toString().right(2).toStdString() +
                       command.cmdId.toString().right(2).toStdString());
    EXPECT_THAT(read, ElementsAre("06}7}", "04}8}", "14}5}"));
}
