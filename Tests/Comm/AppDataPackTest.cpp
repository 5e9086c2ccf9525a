#include "ExternalController/Common/Command.h"
#include "Interfaces/ZXComm.h"

#include <gtest/gtest.h>

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
