#include "Interfaces/ZXComm.h"

#include <gtest/gtest.h>

TEST(AppDataPackTest, BytesThatAreNoEnvelopeHaveNoCodeAndNoBody)
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
