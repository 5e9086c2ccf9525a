#include "Support/ControllerTest.h"

#include "Comm/Envelope.h"
#include "ExternalController/Common/Command.h"

#include <QJsonDocument>

#include <utility>

std::shared_ptr<Comm::ResponsePackage> AppPacket(unsigned int code, const QJsonObject& body, const SPeer& peer)
{
    const QByteArray json = body.isEmpty() ? QByteArray() : QJsonDocument(body).toJson();
    return RawPacket(CAppDataPack(code, json).GetData().toStdString(), peer);
}

std::shared_ptr<Comm::ResponsePackage> RawPacket(std::string payload, const SPeer& peer)
{
    return std::make_shared<Comm::ResponsePackage>(
        Comm::ResponsePackage{std::move(payload), 0, peer.ip, peer.port, peer.localPort});
}

std::shared_ptr<Comm::ResponsePackage> CloseNotice(const SPeer& peer, std::int32_t closed)
{
    return std::make_shared<Comm::ResponsePackage>(
        Comm::ResponsePackage{{}, closed, peer.ip, peer.port, peer.localPort});
}

namespace {

/// Every JSON text that the module sends must have the bytes that QJsonDocument writes.
void CheckText(const SChannelCall& call)
{
    const std::string text = call.package && call.package->data.size() >= Envelope::kCodeHeaderBytes
                                 ? call.package->data.substr(Envelope::kCodeHeaderBytes)
                                 : call.text;
    if (!text.empty() && text.front() == '{') {
        EXPECT_EQ(text, QJsonDocument::fromJson(QByteArray::fromStdString(text)).toJson().toStdString());
    }
}

} // namespace

ControllerTest::ControllerTest()
{
    RecordingChannels::CheckEachCall(CheckText);
    RecordingChannels::Reset();
    HostModels::SoftwareSetting().Load({}, {});
    HostModels::UserModel().Load({});
    HostModels::Show().Load({});
    HostModels::SetResultHandler([this](const SResultData& result) {
        const std::lock_guard lock(m_mutex);
        m_reports.push_back(result);
    });
}

ControllerTest::~ControllerTest()
{
    // The objects that the test's hook uses no longer exist.
    RecordingChannels::OnCall({});
    UninitExternalController();
    HostModels::SetResultHandler({});
    RecordingChannels::Reset();
}

CExternalController& ControllerTest::Start(const SSettings& settings)
{
    HostModels::SoftwareSetting().Load(settings, {});
    InitExternalController();
    GetExternalController()->Init();
    RecordingChannels::ForgetCalls();
    return *GetExternalController();
}

void ControllerTest::LogIn(const SPeer& peer)
{
    // Both passwords decrypt to an empty text, so they are equal.
    HostModels::UserModel().Load({{"operator", "", "", 1, 0}});
    RecordingChannels::Callbacks().appTcp(AppPacket(Command::Login, {{"username", "operator"}}, peer));
    RecordingChannels::ForgetCalls();
    ForgetReports();
}

std::vector<SResultData> ControllerTest::Reports() const
{
    const std::lock_guard lock(m_mutex);
    return m_reports;
}

void ControllerTest::ForgetReports()
{
    const std::lock_guard lock(m_mutex);
    m_reports.clear();
}

void ControllerTest::ExpectSilence() const
{
    EXPECT_THAT(RecordingChannels::Calls(), testing::IsEmpty());
    EXPECT_THAT(Reports(), testing::IsEmpty());
}
