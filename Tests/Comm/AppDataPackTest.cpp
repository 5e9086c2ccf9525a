#include "Interfaces/ZXComm.h"

#include "Support/TcpPeer.h"

#include <gmock/gmock.h>

namespace {

QJsonObject BodyOf(const QByteArray& packet)
{
    QJsonObject body{{"left", "over"}};
    CAppDataPack(packet).ReadJsonFromData(body);
    return body;
}

QByteArray Packet(const std::string& body)
{
    return QByteArray::fromStdString(EnvelopeBytes(5, body));
}

} // namespace

TEST(AppDataPackTest, BuildsAndReadsTheCodeForm)
{
    const CAppDataPack built(0x10000005, "{\"name\":\"a\"}");

    EXPECT_EQ(built.GetData().toStdString(), EnvelopeBytes(0x10000005, "{\"name\":\"a\"}"));
    EXPECT_EQ(CAppDataPack(built.GetData()).GetCmdCode(), 0x10000005u);
    EXPECT_EQ(BodyOf(built.GetData()), (QJsonObject{{"name", "a"}}));
}

TEST(AppDataPackTest, BuildsTheIdForm)
{
    const QUuid id("{01020304-0506-0708-090a-0b0c0d0e0f10}");

    const QByteArray data = CAppDataPack(id, QByteArray("a\0b", 3)).GetData();

    EXPECT_EQ(data, QByteArray("ZXID\1\2\3\4\5\6\7\10\11\12\13\14\15\16\17\20\0\0\0\3a\0b", 27));
    EXPECT_EQ(CAppDataPack(data).GetCmdCode(), 0u);
}

TEST(AppDataPackTest, ABodyThatIsNoJsonObjectReadsAsAnEmptyOne)
{
    const std::string deep = QString("{\"a\":").repeated(10000).toStdString() + '1' + std::string(10000, '}');

    for (const std::string& body : {std::string(), std::string("{"), std::string("[1]"), std::string("5"),
                                    std::string("\xff\xfe"), std::string(5, '\0'), deep}) {
        EXPECT_TRUE(BodyOf(Packet(body)).isEmpty()) << body.substr(0, 20);
        EXPECT_EQ(CAppDataPack(Packet(body)).GetCmdCode(), 5u);
    }
}

TEST(AppDataPackTest, BytesThatAreNoEnvelopeHaveNoCodeAndNoBody)
{
    for (const QByteArray& bytes : {QByteArray(), QByteArray("ZXAP"), QByteArray("ZXAP\0\0\0\5\0\0\0", 11),
                                    QByteArray("ZXAQ\0\0\0\5\0\0\0\2{}", 14)}) {
        EXPECT_EQ(CAppDataPack(bytes).GetCmdCode(), 0u);
        EXPECT_TRUE(BodyOf(bytes).isEmpty());
    }
}
