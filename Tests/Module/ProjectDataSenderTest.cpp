#include "Support/SenderTest.h"

#include "ExternalController/Common/Command.h"
#include "ExternalController/MsgSender/ProjectDataMsgSender.h"

#include <string>
#include <vector>

using ProjectDataSenderTest = SenderTestOf<CProjectDataMsgSender>;

TEST_F(ProjectDataSenderTest, EachQueryIsAnsweredToItsRecipients)
{
    std::vector<SScreen> screens(3);
    screens[1].open = false;
    screens[2].added = false;
    LoadShow({MakeProject(7), MakeProject(8)}, screens);
    SSettings settings;
    settings.appId = "Tablet-7";
    HostModels::SoftwareSetting().Load(settings, {});
    HostModels::UserModel().Load({{"operator", "c2VjcmV0", "at the desk", 1, 2}, {"guest", "Z3Vlc3Q=", "", 1, 2}});
    HostModels::UserModel().SetConnectState(true);
    const std::string pairing = R"({"AppQRCode": "10.0.0.5,c2VjcmV0,operator"})";
    const std::string identity = R"({"result": 1, "user": "ZentravoxXA", "password": "Harbovline"})";
    const std::string isCurrent = R"({"result": 1, "res": 1})";
    const std::string isOther = R"({"result": 1, "res": 0})";
    const auto screen = [](const char* state) { return R"({"screenState": ")" + std::string(state) + "\"}"; };

    Expect({
        {Command::LoginIdentity, "", Source::FP | Source::CentralControl, To::App, identity},
        {Command::CheckAppId, R"("id": "Tablet-7")", Source::FP | Source::CentralControl, To::App, isCurrent},
        {Command::CheckAppId, R"("id": "tablet-7")", Source::App, To::App, isOther},
        {Command::CheckAppId, R"("id": "")", Source::App, To::None, ""},
        {Command::CheckAppId, R"("id": 7)", Source::App, To::None, ""},
        {Command::CheckAppId, "", Source::App, To::None, ""},
        {Command::FPPairingCode, "", Source::Every, To::FP, pairing},
        {Command::FPPairingCode, "", Source::App | Source::CentralControl | Source::CloudControl, To::None, ""},
        {Command::ProjectName, "", Source::Every, To::CentralControl, R"({"ProjectName": "Project 7.zxc"})"},
        {Command::ProjectName, "", Source::App | Source::FP | Source::CloudControl, To::None, ""},
        {Command::AppConnectState, "", Source::Every, To::CentralControl, R"({"AppConnectState": "Connected"})"},
        {Command::AppConnectState, "", Source::App | Source::FP | Source::CloudControl, To::None, ""},
        {Command::ScreenState, R"("param": 1)", Source::Every, To::CentralControl, screen("Closed")},
        {Command::ScreenState, R"("param": 1)", Source::App | Source::FP | Source::CloudControl, To::None, ""},
        {Command::ScreenState, R"("param": 2.0)", Source::CentralControl, To::CentralControl, screen("NotAdded")},
        {Command::ScreenState, R"("param": 3)", Source::CentralControl, To::CentralControl, screen("NotFound")},
        {Command::ScreenState, R"("param": -1)", Source::CentralControl, To::CentralControl, screen("NotFound")},
        // A parameter that is not an integer is read as 0.
        {Command::ScreenState, "", Source::CentralControl, To::CentralControl, screen("Opened")},
        {Command::ScreenState, R"("param": 1.5)", Source::CentralControl, To::CentralControl, screen("Opened")},
        {Command::ScreenState, R"("param": 1e300)", Source::CentralControl, To::CentralControl, screen("Opened")},
        {Command::ScreenState, R"("param": "1")", Source::CentralControl, To::CentralControl, screen("Opened")},
    });
}

TEST_F(ProjectDataSenderTest, AHostWithoutDataAnswersToo)
{
    Expect({
        {Command::CheckAppId, R"("id": "Tablet-7")", Source::App, To::App, R"({"result": 1, "res": 0})"},
        {Command::FPPairingCode, "", Source::FP, To::FP, R"({"AppQRCode": ""})"},
        {Command::ProjectName, "", Source::CentralControl, To::CentralControl, R"({"ProjectName": ".zxc"})"},
        {Command::ScreenState, "", Source::CentralControl, To::CentralControl, R"({"screenState": "NotFound"})"},
        {Command::AppConnectState, "", Source::CentralControl, To::CentralControl,
         R"({"AppConnectState": "NotConnected"})"},
    });
}
