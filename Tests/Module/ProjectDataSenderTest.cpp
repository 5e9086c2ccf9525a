#include "Support/SenderTest.h"

#include "ExternalController/Common/HostIdentity.h"
#include "ExternalController/MsgSender/ProjectDataMsgSender.h"

#include <string>
#include <vector>

using ProjectDataSenderTest = SenderTestOf<CProjectDataMsgSender>;

TEST_F(ProjectDataSenderTest, EachQuestionIsAnsweredToThoseItIsFor)
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
    const std::string pairing = R"({"AppQRCode": ")" + GetLocalIPv4().toStdString() + R"(,c2VjcmV0,operator"})";
    const std::string identity = R"({"result": 1, "user": "ZentravoxXA", "password": "Harbovline"})";
    const std::string isCurrent = R"({"result": 1, "res": 1})";
    const std::string isOther = R"({"result": 1, "res": 0})";
    const auto screen = [](const char* state) { return R"({"screenState": ")" + std::string(state) + "\"}"; };

    Expect({
        {0x06, "", 0x0110, "A", identity},
        {0x10, R"("id": "Tablet-7")", 0x0110, "A", isCurrent},
        {0x10, R"("id": "tablet-7")", 0x0001, "A", isOther},
        {0x10, R"("id": "")", 0x0001, "", ""},
        {0x10, R"("id": 7)", 0x0001, "", ""},
        {0x10, "", 0x0001, "", ""},
        {0x13, "", 0x1111, "F", pairing},
        {0x13, "", 0x1101, "", ""},
        {0x20, "", 0x1111, "C", R"({"ProjectName": "Project 7.zxc"})"},
        {0x20, "", 0x1011, "", ""},
        {0x23, "", 0x1111, "C", R"({"AppConnectState": "Connected"})"},
        {0x23, "", 0x1011, "", ""},
        {0x21, R"("param": 1)", 0x1111, "C", screen("Closed")},
        {0x21, R"("param": 1)", 0x1011, "", ""},
        {0x21, R"("param": 2.0)", 0x0100, "C", screen("NotAdded")},
        {0x21, R"("param": 3)", 0x0100, "C", screen("NotFound")},
        {0x21, R"("param": -1)", 0x0100, "C", screen("NotFound")},
        // What is no such integer reads as 0.
        {0x21, "", 0x0100, "C", screen("Opened")},
        {0x21, R"("param": 1.5)", 0x0100, "C", screen("Opened")},
        {0x21, R"("param": 1e300)", 0x0100, "C", screen("Opened")},
        {0x21, R"("param": "1")", 0x0100, "C", screen("Opened")},
    });
}

TEST_F(ProjectDataSenderTest, AnEmptyHostAnswersToo)
{
    Expect({
        {0x10, R"("id": "Tablet-7")", 0x0001, "A", R"({"result": 1, "res": 0})"},
        {0x13, "", 0x0010, "F", R"({"AppQRCode": ""})"},
        {0x20, "", 0x0100, "C", R"({"ProjectName": ".zxc"})"},
        {0x21, "", 0x0100, "C", R"({"screenState": "NotFound"})"},
        {0x23, "", 0x0100, "C", R"({"AppConnectState": "NotConnected"})"},
    });
}
