#include "HostModels/FileTest.h"
#include "HostModels/Models/HostExControlDevModel.h"
#include "Support/FullDisk.h"

#include <QJsonArray>
#include <QJsonDocument>

using testing::StartsWith;

namespace {

constexpr char kUdp[] = R"("DevId": "{75abf6a9-add1-4262-84c2-217f41365491}", "Type": "udp", "Ip": "10.0.0.2")";
constexpr char kSerial[] = R"("DevId": "a64ab059-cad4-4f84-835c-c78571676010", "Type": "serial", "PortName": "COM3")";
constexpr char kCommand[] = R"("CmdId": "{36a6ddef-2d1b-4c35-a2c3-dd4e729dda12}", "Data": "x")";

QString Device(const char* begin, const QString& more = {})
{
    return QStringLiteral("{%1%2}").arg(QLatin1String(begin), more);
}

QByteArray FileOf(const QString& devices)
{
    return ("{\"ExControlDevData\": [" + devices + "]}").toUtf8();
}

using DeviceFileTest = CFileTest;

} // namespace

TEST_F(DeviceFileTest, AnInvalidFileIsReportedWithPositionAndReason)
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
        {Device(kUdp, R"(, "Port": 1, "PortName": "COM3")"), "[0].PortName: unknown key"},
        {Device(kUdp, R"(, "Port": 1)").replace("0.0.2", "2"), "[0].Ip: must be an IPv4 address such as"},
        {Device(kSerial, R"(, "LineSettings": "9600,8,X")"),
         "[0].LineSettings: the parity must be one of N, O, E, not"},
        {Device(kSerial) + ", " + Device(kSerial), "[1].DevId: another device has this id"},
        {Device(kSerial, ", \"Commands\": [{" + command + "}, {" + command + "}]"),
         "[0].Commands[1].CmdId: another command of the device has this id"},
        {Device(kSerial, ", \"Commands\": [{" + command + ", \"Format\": \"hexadecimal text\"}]").replace("x\"", "☃\""),
         "[0].Commands[0].Data: hexadecimal text can contain Latin-1 characters only"},
    };
    CHostExControlDevModel model;

    for (const auto& [devices, complaint] : cases)
        EXPECT_THAT(Complaint([&](const QString& file) { model.Load(file); }, FileOf(devices)),
                    StartsWith(std::string("ExControlDevData") + complaint));
    EXPECT_TRUE(model.Current()->devices.empty());
}

TEST_F(DeviceFileTest, ANewDeviceIsStoredCompletelyWithTheOthers)
{
    const QString file = Write(FileOf(Device(kSerial)));
    CHostExControlDevModel model;
    model.Load(file);
    const auto lights = QJsonDocument::fromJson(Device(kUdp, R"(, "Port": 9, "Name": "Bühne")").toUtf8()).object();

    EXPECT_TRUE(model.Put(ReadDevice({"test", lights})));

    CHostExControlDevModel again;
    again.Load(file);
    ASSERT_EQ(again.Current()->devices.size(), 2U);
    EXPECT_EQ(again.Current()->devices[1].json, lights);
    // The file has ids in braces, for hosts that read it themselves.
    EXPECT_EQ(ReadJsonObject(file)["ExControlDevData"].toArray()[0].toObject()["DevId"],
              "{a64ab059-cad4-4f84-835c-c78571676010}");
}

TEST_F(DeviceFileTest, AFullDiskDoesNotChangeTheStoredDevices)
{
    const QString file = Write(FileOf(Device(kSerial)));
    CHostExControlDevModel model;
    model.Load(file);

    {
        const CFullDisk full;
        EXPECT_FALSE(model.Delete(model.Current()->devices[0].node.devId));
    }

    EXPECT_EQ(ReadDeviceFile(file).size(), 1U);
}
