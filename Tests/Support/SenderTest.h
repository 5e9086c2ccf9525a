#pragma once

#include "Support/ControllerTest.h"
#include "Support/HostDoubles.h"
#include "Support/ShowBuilder.h"

#include "ExternalController/MsgSender/MsgSenderBase.h"

#include <QImage>

#include <iosfwd>
#include <string>
#include <vector>

/// A request body with the address to which central control's reply goes.
inline const QJsonObject kRemote = {{"remoteIp", "10.0.0.9"}, {"remotePort", 4000}};

/// Source flags of a request that came from no channel.
constexpr int kNoSource = 0;

/// The channel of a reply.
enum class Recipient { App, FP, CentralControl, Other };
/// One element for each reply, in the order in which they were sent.
using Recipients = std::vector<Recipient>;
void PrintTo(Recipient recipient, std::ostream* out);

namespace To {
inline const Recipients None = {};
inline const Recipients App = {Recipient::App};
inline const Recipients FP = {Recipient::FP};
inline const Recipients AppAndFP = {Recipient::App, Recipient::FP};
inline const Recipients CentralControl = {Recipient::CentralControl};
} // namespace To

/// A request from these sources, whose body is kRemote with these members, and the reply that each recipient gets once.
struct SExchange {
    int code;
    std::string members;
    int sources;
    Recipients recipients;
    std::string reply;
};

/// Matches calls that send this reply to each of these recipients (not to Recipient::Other) and nothing else.
testing::Matcher<const std::vector<SChannelCall>&> Answers(const Recipients& recipients, int code,
                                                           const QJsonObject& reply);

/// Returns the recipient of each call; Recipient::Other for the cloud and for calls that send nothing.
Recipients RecipientsOf(const std::vector<SChannelCall>& calls);

/// Returns the JSON object that a call carries.
QJsonObject BodyOf(const SChannelCall& call);
/// Returns a copy of the object with these keys only.
QJsonObject Of(const QJsonObject& object, const QStringList& keys);
/// Returns the bytes of the picture if there is exactly one call, and it sends the picture with this code and this id
/// to the app on the bulk channel; otherwise returns an empty array.
QByteArray PictureIn(const std::vector<SChannelCall>& calls, unsigned int code, const QUuid& id);

/// Returns the mean difference of two pictures' channels, 0 to 255; 255 if their sizes differ.
double Difference(const QImage& picture, const QImage& other);

/// Tests senders with recording channels, in a host without a show.
class SenderTest : public ControllerTest {
protected:
    SenderTest() { RecordingChannels::ForgetCalls(); }
    ~SenderTest() override { Doubles() = {}; }

    /// Lets a sender with all channels handle a request, in one reading of the show as in a channel's callback.
    template <class Sender>
    bool Handle(const SOperation& request)
    {
        const CShowReading reading;
        return Sender(&m_app, &m_fp, &m_central, &m_cloud).HandleMsg(request);
    }

    /// Lets a sender handle a request and returns the calls that it makes.
    template <class Sender>
    std::vector<SChannelCall> Ask(int code, const QJsonObject& body, int sources)
    {
        RecordingChannels::ForgetCalls();
        EXPECT_TRUE(Handle<Sender>({code & SenderType::kMask, code, body, sources}));
        return RecordingChannels::Calls();
    }

    CAPPServerManager m_app;
    CFPClientManager m_fp;
    CCentralControllerManager m_central;
    CCloudControlManager m_cloud;
};

/// Tests one sender.
template <class Sender>
class SenderTestOf : public SenderTest {
protected:
    std::vector<SChannelCall> Ask(int code, const QJsonObject& body = kRemote, int sources = Source::App)
    {
        return SenderTest::Ask<Sender>(code, body, sources);
    }

    void Expect(const std::vector<SExchange>& exchanges)
    {
        for (const auto& [code, members, sources, recipients, reply] : exchanges) {
            QJsonObject body = Json('{' + members + '}');
            for (const QString& key : kRemote.keys())
                body[key] = kRemote[key];
            EXPECT_THAT(Ask(code, body, sources),
                        Answers(recipients, code, recipients.empty() ? QJsonObject() : Json(reply)))
                << "code 0x" << std::hex << code << " from 0x" << sources << " with " << members;
        }
    }
};
