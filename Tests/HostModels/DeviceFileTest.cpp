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
    QString WriteDevices(const QString& devices)
    {
        QFile file(m_folder.filePath("Devices.json"));
        EXPECT_TRUE(file.open(QIODevice::WriteOnly));
        file.write(("{\"ExControlDevData\": [" + devices + "]}").toUtf8());
        return file.fileName();
    }

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
        {R"({"DevId": "7", "Type": "udp"})", "[0].DevId: must be an id such as "},
        {R"({"DevId": "{75abf6a9-add1-4262-84c2-217f41365491}", "Type": "midi"})",
         "[0].Type: must be one of \"udp\", "},
        {Device(kUdp, R"(, "Port": 0)"), "[0].Port: must be a number from 1 to 65535"},
        {Device(kUdp, R"(, "Port": 1, "PortName": "COM3")"), "[0].PortName: there is no such key"},
        {Device(kUdp, R"(, "Port": 1)").replace("0.0.2", "2"), "[0].Ip: must be an IPv4 address such as"},
        {Device(kSerial, R"(, "LineSettings": "9600,8,X")"),
         "[0].LineSettings: the parity must be one of N, O, E, not"},
        {Device(kSerial) + ", " + Device(kSerial), "[1].DevId: another device has this id"},
        {Device(kSerial, ", \"Commands\": [{" + command + "}, {" + command + "}]"),
         "[0].Commands[1].CmdId: another command of the device has this id"},
        {Device(kSerial, ", \"Commands\": [{" + command + ", \"Format\": \"hexadecimal text\"}]").replace("x\"", "☃\""),
         "[0].Commands[0].Data: hexadecimal text has room for Latin-1 characters only"},
    };
    CHostExControlDevModel model;

    for (const auto& [devices, complaint] : cases) {
        const QString file = WriteDevices(devices);
        try {
            model.Load(file);
            ADD_FAILURE() << "no complaint, but expected: " << complaint;
        } catch (const CFileError& error) {
            EXPECT_THAT(error.what(), StartsWith(file.toStdString() + ": ExControlDevData" + complaint));
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

TEST_F(DeviceFileTest, AShowNamesItsDeviceFileAndItsScenesTheirCommands)
{
    const auto id = [](int number) { return QStringLiteral("00000000-0000-4000-8000-00000000000%1").arg(number); };
    const auto command = [&](int number) { return QJsonObject{{"device", id(0)}, {"command", id(number)}}; };
    const QJsonObject scene = {{"id", id(1)},
                               {"name", "s"},
                               {"endCommands", QJsonArray{command(9)}},
                               {"startCommands", QJsonArray{command(8), command(7)}}};
    const QJsonObject group = {{"id", id(1)}, {"name", "g"}, {"scenes", QJsonArray{scene}}};
    const QJsonObject project = {{"id", id(1)}, {"name", "p"}, {"groups", QJsonArray{group}}};
    const QString path = m_folder.filePath("show.zxc");
    KeepJsonObject(path, {{"name", "a"}, {"devices", "Stage/Devices.json"}, {"projects", QJsonArray{project}}});

    const SShowFile file = ReadShowFile(path);

    EXPECT_EQ(file.deviceFile, m_folder.filePath("Stage/Devices.json"));
    std::vector<SSceneExControlCmd> commands(1);
    file.show.Project()->groups[0]->scenes[0]->node.GetAllExControlCmd(commands);
    std::vector<std::pair<int, QUuid>> read;
    for (const SSceneExControlCmd& entry : commands)
        read.emplace_back(entry.nTriggerType, entry.cmdId);
    EXPECT_THAT(read, ElementsAre(std::pair(0, QUuid(id(8))), std::pair(0, QUuid(id(7))), std::pair(1, QUuid(id(9)))));
}
