#pragma once

#include "Support/ControllerTest.h"
#include "Support/ShowBuilder.h"

#include "ExternalController/MsgSender/MsgSenderBase.h"

#include <string>
#include <vector>

/// A request body that names where central control gets its answer.
inline const QJsonObject kRemote = {{"remoteIp", "10.0.0.9"}, {"remotePort", 4000}};

/// A request from these sources, whose body is kRemote with these members, and its one reply to each of those named:
/// A the app, F the FP client, C central control.
struct SExchange {
    int code;
    std::string members;
    int sources;
    std::string whom;
    std::string reply;
};
testing::Matcher<const std::vector<SChannelCall>&> Answers(const std::string& whom, int code, const QJsonObject& reply);

/// A for each answer to the app, F to the FP client, C to central control, ? to the cloud.
std::string Whom(const std::vector<SChannelCall>& calls);

/// The JSON that a call carries.
QJsonObject BodyOf(const SChannelCall& call);
/// What the object has of these keys.
QJsonObject Of(const QJsonObject& object, const QStringList& keys);
/// The bytes that the one call brings the app on the bulk channel under this code, as the picture of this id; nothing
/// if the calls are anything else.
QByteArray PictureIn(const std::vector<SChannelCall>& calls, unsigned int code, const QUuid& id);

/// Senders on recording channels, in a host without a show.
class SenderTest : public ControllerTest {
protected:
    SenderTest() { RecordingChannels::ForgetCalls(); }

    /// Has a sender that has every channel handle a request, in one reading of the show as in a channel's callback.
    template <class Sender>
    bool Handle(const SOperation& request)
    {
        const CShowReading reading;
        return Sender(&m_app, &m_fp, &m_central, &m_cloud).HandleMsg(request);
    }

    /// What goes out then.
    template <class Sender>
    std::vector<SChannelCall> Ask(int code, const QJsonObject& body, int sources)
    {
        RecordingChannels::ForgetCalls();
        EXPECT_TRUE(Handle<Sender>({code & 0xf00, code, body, sources}));
        return RecordingChannels::Calls();
    }

    CAPPServerManager m_app;
    CFPClientManager m_fp;
    CCentralControllerManager m_central;
    CCloudControlManager m_cloud;
};

/// The same about one sender.
template <class Sender>
class SenderTestOf : public SenderTest {
protected:
    std::vector<SChannelCall> Ask(int code, const QJsonObject& body = kRemote, int sources = Source::App)
    {
        return SenderTest::Ask<Sender>(code, body, sources);
    }

    void Expect(const std::vector<SExchange>& exchanges)
    {
        for (const auto& [code, members, sources, whom, reply] : exchanges) {
            QJsonObject body = Json('{' + members + '}');
            for (const QString& key : kRemote.keys())
                body[key] = kRemote[key];
            EXPECT_THAT(Ask(code, body, sources), Answers(whom, code, whom.empty() ? QJsonObject() : Json(reply)))
                << "code " << code << " from 0x" << std::hex << sources << " with " << members;
        }
    }
};
