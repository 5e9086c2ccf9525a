#include "Support/ControllerTest.h"
#include "Support/ShowBuilder.h"

#include <set>

using testing::ElementsAre;
using testing::Field;
using testing::IsEmpty;

namespace {

/// Written out: which codes go astray between the channel and the senders is what these tests are to find.
const std::set<unsigned int> kQueries = {19, 265, 274, 401, 402, 403, 768};

} // namespace

class FPIntakeTest : public ControllerTest {
protected:
    FPIntakeTest() { Start(); }
};

TEST_F(FPIntakeTest, EveryPacketIsReportedQueriesAreAnsweredBeforeAndNoneClosesTheSoftware)
{
    LoadStage({});
    const QJsonObject body = {{"value", 7}};
    std::size_t reportsWhenAnswered = 0;
    bool closes = false;
    QObject::connect(GetExternalController(), &CExternalController::signalCloseSoftWare, [&] { closes = true; });
    RecordingChannels::OnCall([&](const SChannelCall&) { reportsWhenAnswered += Reports().size(); });

    for (unsigned int code = 0; code <= 0x510; ++code) {
        RecordingChannels::ForgetCalls();
        ForgetReports();

        RecordingChannels::FP()(AppPacket(code, body));

        const SResultData expected = {static_cast<int>(code & 0xf00), static_cast<int>(code), true, body, 0x10};
        EXPECT_THAT(Reports(), ElementsAre(Report(expected))) << code;
        if (kQueries.count(code))
            EXPECT_THAT(RecordingChannels::Calls(), ElementsAre(Field("name", &SChannelCall::name, "FP.SendPackage")))
                << code;
        else
            EXPECT_THAT(RecordingChannels::Calls(), IsEmpty()) << code;
    }
    EXPECT_EQ(reportsWhenAnswered, 0u);
    EXPECT_FALSE(closes);
}

TEST_F(FPIntakeTest, WhatHasNoBodyIsReportedWithoutData)
{
    const auto withBody = [](const std::string& body) {
        return RawPacket(CAppDataPack(0x194, QByteArray::fromStdString(body)).GetData().toStdString());
    };
    for (const std::string& body : {std::string(), std::string("{}"), std::string("no JSON"), std::string("[1]")}) {
        ForgetReports();
        RecordingChannels::FP()(withBody(body));
        EXPECT_THAT(Reports(), ElementsAre(Report({0x100, 0x194, false, {}, 0x10}))) << body;
    }
    ForgetReports();
    RecordingChannels::FP()(RawPacket("no envelope"));
    EXPECT_THAT(Reports(), ElementsAre(Report({0, 0, false, {}, 0x10})));
}

TEST_F(FPIntakeTest, TheNoticeOfACloseIsNoPacket)
{
    RecordingChannels::FP()(CloseNotice({}));
    RecordingChannels::FP()(nullptr);

    EXPECT_THAT(Reports(), IsEmpty());
    EXPECT_THAT(RecordingChannels::Calls(), IsEmpty());
}
