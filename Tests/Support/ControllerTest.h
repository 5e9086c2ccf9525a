#pragma once

#include "Support/Matchers.h"
#include "Support/RecordingChannels.h"
#include "Support/Waiting.h"

#include "ExternalController/ExternalController.h"
#include "HostModels/HostModels.h"

#include <QJsonObject>

#include <gtest/gtest.h>

#include <mutex>
#include <string>
#include <vector>

/// Where a packet comes from.
struct SPeer {
    std::string ip = "10.0.0.7";
    std::uint16_t port = 4007;
    std::uint16_t localPort = AppServer::kControlPort;
};

/// The packet that an app sends, as the app server delivers it.
std::shared_ptr<Comm::ResponsePackage> AppPacket(unsigned int code, const QJsonObject& body = {},
                                                 const SPeer& peer = {});
std::shared_ptr<Comm::ResponsePackage> RawPacket(std::string payload, const SPeer& peer = {});
std::shared_ptr<Comm::ResponsePackage> CloseNotice(const SPeer& peer, std::int32_t closed = 1);

/// The module on recording channels, in a host with fresh settings, no users and no show, where no controller exists
/// yet.
class ControllerTest : public testing::Test {
protected:
    ControllerTest();
    ~ControllerTest() override;

    /// Makes the controller and runs its Init with these settings; the calls of that are forgotten.
    CExternalController& Start(const SSettings& settings = {});
    /// Lets an app in from this peer, so that it is the last one that logged in; the calls and reports of that are
    /// forgotten.
    void LogIn(const SPeer& peer = {});

    /// What the host was told so far, in order.
    std::vector<SResultData> Reports() const;
    void ForgetReports();

    /// No channel was called, and the host was told nothing.
    void ExpectSilence() const;

private:
    mutable std::mutex m_mutex;
    std::vector<SResultData> m_reports;
};
