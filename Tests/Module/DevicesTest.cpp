#include "Support/ControllerTest.h"
#include "Support/ShowBuilder.h"

#include "ExternalController/MsgSender/ExControlDevMsgSender.h"
#include "HostModels/Files/JsonFile.h"
#include "Interfaces/PlayController.h"

#include <QFile>
#include <QJsonArray>
#include <QTemporaryDir>

#include <thread>

using testing::AllOf;
using testing::ElementsAre;
using testing::Field;
using testing::IsEmpty;

namespace {

const QUuid kGroup = Id(2);
const QUuid kScene = Id(3);
const QUuid kLights = Id(11);
const QUuid kCurtain = Id(12);
const QUuid kOn = Id(21);
const QUuid kOff = Id(22);
const QUuid kUnknown = Id(99);

QJsonArray Commands(const QString& on, const char* off, const char* format = "text")
{
    return {QJsonObject{{"CmdId", kOn.toString()}, {"Data", on}, {"Format", format}},
            QJsonObject{{"CmdId", kOff.toString()}, {"Data", off}, {"Format", format}}};
}

QJsonObject Lights(int port = 7001, const QJsonArray& commands = Commands("PWR ON", "PWR OFF"))
{
    return {
        {"DevId", kLights.toString()}, {"Type", "udp"}, {"Ip", "10.0.0.20"}, {"Port", port}, {"Commands", commands}};
}

QJsonObject Curtain(const char* portName = "COM3", const QJsonArray& commands = Commands("OPEN", "CLOSE"))
{
    return {{"DevId", kCurtain.toString()},
            {"Type", "serial"},
            {"PortName", portName},
            {"LineSettings", "19200,7,E,2"},
            {"Commands", commands}};
}

CallMatcher Call(const char* name, const std::string& text, const std::string& ip = {}, int port = 0, int number = 0)
{
    return AllOf(Field("name", &SChannelCall::name, name), Field("text", &SChannelCall::text, text),
                 Field("ip", &SChannelCall::ip, ip), Field("port", &SChannelCall::port, port),
                 Field("number", &SChannelCall::number, number));
}

CallMatcher Datagram(const std::string& bytes, int port = 7001)
{
    return Call("Udp.SendTo", bytes, "10.0.0.20", port);
}

CallMatcher Written(const std::string& bytes, const std::string& portName = "COM3")
{
    const auto carries = [bytes](const SChannelCall& call) { return call.package && call.package->data == bytes; };
    return AllOf(Call("Com.AsyncSend", portName), testing::Truly(carries));
}

class DevicesTest : public ControllerTest {
protected:
    DevicesTest()
    {
        KeepJsonObject(m_file, {{"ExControlDevData", QJsonArray{Lights(), Curtain()}}});
        HostModels::Devices().Load(m_file);
    }

    ~DevicesTest() override { HostModels::Devices().Load({}); }

    static void Put(const QJsonObject& device) { HostModels::Devices().Put(ReadDevice({"test", device})); }

    /// Returns the sender with open channels; the calls that open them are forgotten.
    CExControlDevMsgSender& Sender()
    {
        m_sender = std::make_unique<CExControlDevMsgSender>();
        RecordingChannels::ForgetCalls();
        return *m_sender;
    }

    QTemporaryDir m_folder;
    const QString m_file = m_folder.filePath("Devices.json");
    std::unique_ptr<CExControlDevMsgSender> m_sender;
};

/// Loads a show whose scene has these commands.
void LoadScene(const std::vector<SSceneExControlCmd>& commands)
{
    auto properties = std::make_shared<SSceneProperties>();
    properties->id = kScene;
    properties->exControlCmds = commands;
    SScene scene;
    scene.node = CSceneNode(std::move(properties));
    LoadShow({MakeProject(1, {MakeGroup(2, {scene})})});
}

SSceneExControlCmd Trigger(int type, const QUuid& device, const QUuid& command)
{
    SSceneExControlCmd entry;
    entry.devId = device;
    entry.cmdId = command;
    entry.nTriggerType = type;
    return entry;
}

void StartScene(const QUuid& scene = kScene)
{
    emit GetPlayController()->signalSceneStartExControl(kGroup, scene);
}

} // namespace

TEST_F(DevicesTest, AFileWithoutDevicesOpensNoChannels)
{
    for (const char* text : {"", "{", "[]", "{}", R"({"ExControlDevData": {}})", R"({"Devices": [{"DevId": "x"}]})",
                             R"({"ExControlDevData": [5, {}, {"DevId": 5}, {"DevId": "no id"}]})",
                             R"({"ExControlDevData": [{"DevId": "{1b4e28ba-2fa1-4d3e-a3c5-7b0e4a659c13}"}]})"}) {
        QFile file(m_file);
        ASSERT_TRUE(file.open(QIODevice::WriteOnly));
        file.write(text);
        file.close();
        const CExControlDevMsgSender sender;
        EXPECT_THAT(RecordingChannels::Calls(), IsEmpty()) << text;
    }
    QFile::remove(m_file);
    for (const bool exists : {false, true}) {
        EXPECT_EQ(exists, exists && QDir().mkpath(m_file)); // the folder can't be read
        const CExControlDevMsgSender sender;
        EXPECT_THAT(RecordingChannels::Calls(), IsEmpty());
    }
}

TEST_F(DevicesTest, OneByteThatIsNotUtf8DoesNotHideTheDevices)
{
    QFile file(m_file);
    ASSERT_TRUE(file.open(QIODevice::ReadWrite));
    QByteArray text = file.readAll();
    text.insert(text.indexOf("PWR ON"), '\xff');
    file.resize(0);
    file.write(text);
    file.close();

    const CExControlDevMsgSender sender;

    EXPECT_THAT(RecordingChannels::CallNames(), ElementsAre("Udp.Create", "Udp.Init", "Com.Create", "Com.Open"));
}

TEST_F(DevicesTest, TextIsSentAsUtf8AndHexadecimalTextAsTheDigitsOfItsLatin1Bytes)
{
    const struct {
        QString data;
        const char* format;
        const char* payload;
    } cases[] = {
        {"PWR ON", "hexadecimal text", "505752204f4e"},
        {"B\xC3\xBChne \xE8\x88\x9E\xE5\x8F\xB0\r", "text", "B\xC3\xBChne \xE8\x88\x9E\xE5\x8F\xB0\r"},
        {"B\xC3\xBChne\r", "hexadecimal text", "42fc686e650d"},
        {QString("A") + QChar(0) + "B", "hexadecimal text", "410042"},
    };
    CExControlDevMsgSender& sender = Sender();

    for (const auto& [data, format, payload] : cases) {
        Put(Lights(7001, Commands(data, "-", format)));
        Put(Curtain("COM3", Commands(data, "-", format)));
        RecordingChannels::ForgetCalls();
        sender.SendExControlCmd(kLights, kOn);
        sender.SendExControlCmd(kCurtain, kOn);
        EXPECT_THAT(RecordingChannels::Calls(), ElementsAre(Datagram(payload), Written(payload))) << data.toStdString();
    }
}

TEST_F(DevicesTest, AnUpdateClosesTheOldChannelBeforeItOpensTheNewOne)
{
    CExternalController& controller = Start();
    Put(Lights(7002));
    Put(Curtain("COM4"));

    controller.UpdateExControlDev(kLights);
    controller.UpdateExControlDev(kCurtain);

    EXPECT_THAT(RecordingChannels::Calls(),
                ElementsAre(Call("Udp.Destroy", ""), Call("Udp.Create", "", "", 0, 512),
                            Call("Udp.Init", "", "", 25168), Call("Com.Destroy", "COM3"),
                            Call("Com.Create", "19200,7,E,2", "", 0, 4096), Call("Com.Open", "COM4")));
}

TEST_F(DevicesTest, ADeletedDeviceReceivesNothingUntilItIsCreatedAgain)
{
    CExternalController& controller = Start();
    LoadScene({Trigger(0, kLights, kOn), Trigger(0, kCurtain, kOn)});

    for (const QUuid& device : {kLights, kCurtain})
        controller.DelExControlDev(device);
    StartScene();
    EXPECT_THAT(RecordingChannels::Outgoing(), IsEmpty());

    for (const QUuid& device : {kLights, kCurtain})
        controller.CreateExControlDev(device);
    StartScene();
    EXPECT_THAT(RecordingChannels::Outgoing(), ElementsAre(Datagram("PWR ON"), Written("OPEN")));

    RecordingChannels::ForgetCalls();
    UninitExternalController();
    EXPECT_THAT(RecordingChannels::CallNames(), testing::IsSupersetOf({"Com.Destroy", "Udp.Destroy"}))
        << "the sender is deleted";
}

TEST_F(DevicesTest, UnknownIdsAreIgnored)
{
    CExControlDevMsgSender& sender = Sender();
    QJsonObject late = Lights();
    late["DevId"] = kUnknown.toString();

    sender.SendExControlCmd(kLights, kUnknown);
    sender.SendExControlCmd(kLights, {});
    sender.SendExControlCmd({}, kOn);
    sender.CreateExControlDev(kUnknown);
    sender.UpdateExControlDev(kUnknown);
    sender.DelExControlDev(kUnknown);
    sender.SendExControlCmd(kUnknown, kOn);
    Put(late); // without CreateExControlDev
    sender.SendExControlCmd(kUnknown, kOn);

    EXPECT_THAT(RecordingChannels::Calls(), IsEmpty());
}

TEST_F(DevicesTest, ASceneSendsItsCommandsOfATriggerInOrder)
{
    LoadScene({Trigger(0, kCurtain, kOn), Trigger(1, kLights, kOff), Trigger(2, kLights, kOn),
               Trigger(-1, kLights, kOn), Trigger(0, kUnknown, kOn), Trigger(0, kLights, kOn)});
    Start();

    StartScene();
    ASSERT_THAT(RecordingChannels::Calls(), ElementsAre(Written("OPEN"), Datagram("PWR ON")));
    const Comm::RequestPackage& package = *RecordingChannels::Calls()[0].package;
    EXPECT_GT(package.sendStamp, 0);
    EXPECT_EQ(package.length, 4U);
    EXPECT_EQ(package.flag, 1);
    EXPECT_EQ(package.value, 100U);
    RecordingChannels::ForgetCalls();
    emit GetPlayController()->signalSceneEndExControl(kGroup, kScene);
    EXPECT_THAT(RecordingChannels::Calls(), ElementsAre(Datagram("PWR OFF")));
    RecordingChannels::ForgetCalls();
    StartScene(kUnknown);
    EXPECT_THAT(RecordingChannels::Calls(), IsEmpty());

    LoadScene({Trigger(0, kCurtain, kOff)});
    StartScene();
    EXPECT_THAT(RecordingChannels::Calls(), ElementsAre(Written("CLOSE")));
}

#if !defined(QT_NO_DEBUG)
using DevicesDeathTest = DevicesTest;

TEST_F(DevicesDeathTest, ADebugBuildAbortsOnCallsFromAnotherThread)
{
    testing::GTEST_FLAG(death_test_style) = "threadsafe";
    CExternalController& controller = Start();

    EXPECT_DEATH(std::thread([&] { controller.UpdateExControlDev(kLights); }).join(), "the controller's thread");
}
#endif
