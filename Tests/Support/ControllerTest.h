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

/// The address that a packet comes from.
struct SPeer {
    std::string ip = "10.0.0.7";
    std::uint16_t port = 4007;
    std::uint16_t localPort = AppServer::kControlPort;
};

/// Returns an app's packet as the app server delivers it.
std::shared_ptr<Comm::ResponsePackage> AppPacket(unsigned int code, const QJsonObject& body = {},
                                                 const SPeer& peer = {});
std::shared_ptr<Comm::ResponsePackage> RawPacket(std::string payload, const SPeer& peer = {});
std::shared_ptr<Comm::ResponsePackage> CloseNotice(const SPeer& peer, std::int32_t closed = 1);

/// Tests the module with recording channels, in a host with default settings, no users, no show and no controller yet.
class ControllerTest : public testing::Test {
protected:
    ControllerTest();
    ~ControllerTest() override;

    /// Creates the controller and runs its Init with these settings; the calls that this makes are forgotten.
    CExternalController& Start(const SSettings& settings = {});
    /// Logs an app in from this peer; the calls and reports that this makes are forgotten.
    void LogIn(const SPeer& peer = {});

    /// Returns the reports to the host so far, in order.
    std::vector<SResultData> Reports() const;
    void ForgetReports();

    /// Expects that no channel was called and nothing was reported to the host.
    void ExpectSilence() const;

private:
    mutable std::mutex m_mutex;
    std::vector<SResultData> m_reports;
};
