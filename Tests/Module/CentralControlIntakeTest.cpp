#include "Support/ControllerTest.h"
#include "Support/ShowBuilder.h"

#include <set>
#include <vector>

using testing::ElementsAre;
using testing::Field;
using testing::IsEmpty;

namespace {

/// Written out: which codes go astray between the channel and the senders is what these tests are to find.
const std::set<int> kQueries = {32, 33, 35, 274, 290, 403, 404, 406, 408, 665, 921};

constexpr int kShutDown = 17;
constexpr int kCloseSoftware = 400;

} // namespace

class CentralControlIntakeTest : public ControllerTest {
protected:
    CentralControlIntakeTest()
    {
        QObject::connect(&Start(), &CExternalController::signalCloseSoftWare, [this](bool closeServer) {
            m_asked.push_back(closeServer);
            m_reportsWhenAsked = Reports().size();
        });
    }

    static QJsonObject Message(const QJsonValue& code)
    {
        return {{"cmd", "a keyword"}, {"cmdType", code}, {"remoteIp", "10.0.0.9"}, {"remotePort", 4000}};
    }

    static void FromCentralControl(QJsonObject message) { RecordingChannels::Central()(message); }

    std::vector<bool> m_asked; ///< to close, with or without the server
    std::size_t m_reportsWhenAsked = 0;
};

TEST_F(CentralControlIntakeTest, QueriesAreTheSendersAndEverythingElseIsTheHosts)
{
    for (int code = -1; code <= 0x510; ++code) {
        if (code == kShutDown)
            continue;
        ForgetReports();

        FromCentralControl(Message(code));

        if (kQueries.count(code))
            EXPECT_THAT(Reports(), IsEmpty()) << code;
        else
            EXPECT_THAT(Reports(), ElementsAre(Report({code & 0xf00, code, false, Message(code), 0x100}))) << code;
    }
}

TEST_F(CentralControlIntakeTest, AnAnswerGoesToWhereTheQuestionCameFromAndNowhereElse)
{
    LoadStage({});

    FromCentralControl(Message(408));

    EXPECT_THAT(RecordingChannels::Calls(), ElementsAre(AllOf(Field("name", &SChannelCall::name, "Central.SendData"),
                                                              Field("ip", &SChannelCall::ip, "10.0.0.9"),
                                                              Field("port", &SChannelCall::port, 4000))));
}

TEST_F(CentralControlIntakeTest, ShutDownIsAskedOfTheHostBySignalAlone)
{
    FromCentralControl(Message(kShutDown));

    EXPECT_THAT(m_asked, ElementsAre(true));
    EXPECT_THAT(Reports(), IsEmpty());
    EXPECT_THAT(RecordingChannels::Calls(), IsEmpty());
}

TEST_F(CentralControlIntakeTest, ClosingTheSoftwareIsAskedBySignalAndThenReported)
{
    FromCentralControl(Message(kCloseSoftware));

    EXPECT_THAT(m_asked, ElementsAre(false));
    EXPECT_EQ(m_reportsWhenAsked, 0u);
    EXPECT_THAT(Reports(), ElementsAre(Report({0x100, kCloseSoftware, false, Message(kCloseSoftware), 0x100})));
}

TEST_F(CentralControlIntakeTest, AMessageWithoutANumberIsCodeZeroAndAnEmptyOneIsNothing)
{
    const QJsonObject withoutCode = {{"cmd", "a keyword"}};
    const std::vector<QJsonObject> messages = {withoutCode,   Message("17"), Message({}), Message(QJsonObject()),
                                               Message(17.5), Message(3e9)};

    for (const QJsonObject& message : messages) {
        ForgetReports();
        FromCentralControl(message);
        EXPECT_THAT(Reports(), ElementsAre(Report({0, 0, false, message, 0x100})));
    }
    ForgetReports();
    FromCentralControl({});
    EXPECT_THAT(Reports(), IsEmpty());
    EXPECT_THAT(m_asked, IsEmpty());
}
