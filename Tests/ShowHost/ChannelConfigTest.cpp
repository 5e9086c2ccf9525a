#include "ShowHost/ChannelConfig.h"

#include "HostModels/Files/JsonFile.h"
#include "HostModels/Files/PasswordCipher.h"

#include <gtest/gtest.h>

namespace {

std::string AddressOf(const SSettings& settings, const char* option)
{
    try {
        const SFPClientConfig config = FPClientConfigOf(settings, option);
        return config.host + ' ' + std::to_string(config.port);
    } catch (const CFileError& error) {
        return error.what();
    }
}

std::string CloudUrlOf(const char* url)
{
    try {
        SSettings settings;
        settings.cloudUrl = url;
        return CloudConfigOf(settings).url;
    } catch (const CFileError& error) {
        return error.what();
    }
}

} // namespace

TEST(ChannelConfigTest, TheOptionForTheFpControllerOverridesTheSettingsAndTheseTheDefault)
{
    SSettings settings;
    EXPECT_EQ(AddressOf(settings, ""), "127.0.0.1 25510");
    settings.fpAddress = "10.0.0.3";
    settings.fpPort = 7;
    EXPECT_EQ(AddressOf(settings, ""), "10.0.0.3 7");
    EXPECT_EQ(AddressOf(settings, "stage:65535"), "stage 65535");
    EXPECT_EQ(AddressOf(settings, "[::1]:1"), "::1 1");
    for (const char* option : {"stage", "stage:", "stage:0", "stage:65536", ":1", "::1:1", "[::1:1", "::1]:1", "[]:1"})
        EXPECT_EQ(AddressOf(settings, option), std::string("--fp: expected HOST:PORT, got \"") + option + '"');
}

TEST(ChannelConfigTest, TheUrlOfTheCloudHasASchemeAndAHost)
{
    for (const char* url : {"wss://cloud", "ws://10.0.0.3:1", "wss://[::1]:25511"})
        EXPECT_EQ(CloudUrlOf(url), url);
    EXPECT_EQ(CloudUrlOf(""), SCloudControlConfig().url);
    for (const char* url : {"http://cloud", "ws://", "cloud", "ws://a b"})
        EXPECT_EQ(CloudUrlOf(url),
                  std::string("cloud URL: expected wss://HOST:PORT or ws://HOST:PORT, got \"") + url + '"');

    SSettings settings;
    EXPECT_TRUE(CloudConfigOf(settings).verifiesPeer);
    settings.cloudVerifies = false;
    EXPECT_FALSE(CloudConfigOf(settings).verifiesPeer);
    settings.cloudCaFile = "/dev/null";
    EXPECT_THROW(CloudConfigOf(settings), CFileError);
}

TEST(ChannelConfigTest, TheDemoLoginIsUsedOnlyWithoutLoginData)
{
    const auto loginOf = [](const SSettings& before) {
        SSettings settings = before;
        SwitchCloudOn(settings, "ws://cloud");
        EXPECT_TRUE(settings.cloudSupport);
        EXPECT_EQ(settings.cloudUrl, "ws://cloud");
        const bool isEncrypted = IsUsablePassword(settings.cloudPassword);
        return settings.cloudUser + ' ' + settings.cloudAccount + ' ' +
               (isEncrypted ? "encrypted" : settings.cloudPassword);
    };
    const auto with = [](QString SSettings::*member) {
        SSettings settings;
        settings.*member = "mine";
        return settings;
    };

    EXPECT_EQ(loginOf({}), "demo demo encrypted");
    EXPECT_EQ(loginOf(with(&SSettings::cloudUser)), "mine  ");
    EXPECT_EQ(loginOf(with(&SSettings::cloudAccount)), " mine ");
    EXPECT_EQ(loginOf(with(&SSettings::cloudPassword)), "  mine");
}
