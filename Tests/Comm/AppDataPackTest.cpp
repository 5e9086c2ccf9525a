#include "ExternalController/Common/Command.h"
#include "Interfaces/ZXComm.h"

#include <gtest/gtest.h>

TEST(AppDataPackTest, APacketHasACodeOrAnIdAndItsLengthInNetworkOrder)
{
    EXPECT_EQ(CAppDataPack(0x10000105, "{}").GetData(), QByteArray("ZXAP\x10\0\1\5\0\0\0\2{}", 14));
    EXPECT_EQ(CAppDataPack(QUuid("00112233-4455-6677-8899-aabbccddeeff"), "xyz").GetData(),
              "ZXID" + QByteArray::fromHex("00112233445566778899aabbccddeeff") + QByteArray("\0\0\0\3xyz", 7));

    QJsonObject body{{"left", "over"}};
    const CAppDataPack withoutBody(QByteArray("ZXAP\0\0\1\x99\0\0\0\0", 12));
    EXPECT_EQ(withoutBody.GetCmdCode(), unsigned{Command::Mute});
    withoutBody.ReadJsonFromData(body);
    EXPECT_TRUE(body.isEmpty());
    CAppDataPack(Command::Mute, R"({"a": 1})").ReadJsonFromData(body);
    EXPECT_EQ(body, (QJsonObject{{"a", 1}}));
}

TEST(AppDataPackTest, BytesThatAreNotAnEnvelopeHaveNoCodeAndNoBody)
{
    for (const QByteArray& bytes : {QByteArray(), QByteArray("ZXAP"), QByteArray("ZXAP\0\0\0\5\0\0\0", 11),
                                    QByteArray("ZXAQ\0\0\0\5\0\0\0\2{}", 14)}) {
        const CAppDataPack pack(bytes);
        QJsonObject body{{"left", "over"}};
        pack.ReadJsonFromData(body);
        EXPECT_EQ(pack.GetCmdCode(), 0u);
        EXPECT_TRUE(body.isEmpty());
    }
}

TEST(AppDataPackTest, AMalformedBodyIsReadAsEmptyAndTheCodeIsUnchanged)
{
    // fromJson accepts this: nested 1,000 levels deep, 1.2 MB. The host sends bodies of this code back, indented.
    const QByteArray deep = QByteArray(999, '[') + QByteArray("1,").repeated(600000) + '1' + QByteArray(999, ']');
    for (const QByteArray& body : {"{\"a\": " + deep + '}', QByteArray(R"({"a": [1], "a": [2]})"), QByteArray("{")}) {
        const CAppDataPack pack(Command::Mute, body);
        QJsonObject read{{"left", "over"}};
        pack.ReadJsonFromData(read);
        EXPECT_EQ(pack.GetCmdCode(), unsigned{Command::Mute});
        EXPECT_TRUE(read.isEmpty()) << body.left(20).constData();
    }
}
