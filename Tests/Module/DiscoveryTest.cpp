#include "Support/ControllerTest.h"

#include "ExternalController/Common/HostIdentity.h"
#include "Interfaces/IpHelper.h"

#include <QJsonArray>
#include <QJsonDocument>

#include <string>
#include <vector>

using testing::IsEmpty;
using testing::SizeIs;

namespace {

const std::string kRequest = "App Server request Zentravox Controller";

struct SAdapter {
    QString mac;
    QString ip;
};

/// The machine's adapters in their order. The tests' machine has no more than the ten that fit a reply.
std::vector<SAdapter> Adapters()
{
    std::vector<IP_ADAPTER_INFO> records(10);
    auto bytes = static_cast<ULONG>(records.size() * sizeof(IP_ADAPTER_INFO));
    std::vector<SAdapter> adapters;
    if (GetAdaptersInfo(records.data(), &bytes) != NO_ERROR)
        return adapters;
    for (const IP_ADAPTER_INFO* record = records.data(); record; record = record->Next) {
        const QByteArray mac(reinterpret_cast<const char*>(record->Address), static_cast<int>(record->AddressLength));
        adapters.push_back({mac.toHex('-').toUpper(), record->IpAddressList.IpAddress.String});
    }
    return adapters;
}

} // namespace

class DiscoveryTest : public ControllerTest {
protected:
    /// The texts that go back to the peer which sends this datagram.
    static std::vector<SChannelCall> Ask(const std::string& datagram)
    {
        RecordingChannels::ForgetCalls();
        RecordingChannels::Callbacks().appUdp(RawPacket(datagram, {"10.0.0.8", 6001, 25505}));
        return RecordingChannels::Calls();
    }
};

TEST_F(DiscoveryTest, TheReplyTellsTheHostToTheOneWhoAsked)
{
    SSettings settings;
    settings.hostName = QStringLiteral("Bühne 1");
    Start(settings);
    QString macAddress;
    QJsonArray macAddressList;
    for (const SAdapter& adapter : Adapters()) {
        macAddressList.append(adapter.mac);
        if (adapter.ip == GetLocalIPv4())
            macAddress = adapter.mac;
    }

    const std::vector<SChannelCall> replies = Ask(kRequest);

    ASSERT_THAT(replies, SizeIs(1));
    EXPECT_EQ(replies[0].name, "App.SendUdpData");
    EXPECT_EQ(replies[0].ip, "10.0.0.8");
    EXPECT_EQ(replies[0].port, 6001);
    const QJsonObject expected = {
        {"name", "Bühne 1"},        {"id", "3F2C9D41-7B0E-4A65-9C13-D85E2F07A6B4"},
        {"macAddress", macAddress}, {"macAddressList", macAddressList},
        {"version", 2.0},
    };
    EXPECT_EQ(replies[0].text, QJsonDocument(expected).toJson(QJsonDocument::Indented).toStdString());
}

TEST_F(DiscoveryTest, OnlyTheExactDatagramIsAnswered)
{
    Start();

    for (const std::string& datagram : {std::string(), kRequest.substr(0, 38), kRequest.substr(1), kRequest + '\n',
                                        kRequest + '\0', QString::fromStdString(kRequest).toLower().toStdString()})
        EXPECT_THAT(Ask(datagram), IsEmpty()) << datagram;
}
