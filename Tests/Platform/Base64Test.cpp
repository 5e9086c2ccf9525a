#include "Interfaces/Hv.h"

#include <QByteArray>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstddef>
#include <string>
#include <utility>

using testing::Each;

namespace {

constexpr char kUntouched = '#';

struct SEncoded {
    QByteArray text;
    std::string behind; // what stands behind the text and the one byte that the encoder may have as well
};

SEncoded Encode(const QByteArray& data)
{
    constexpr std::size_t guardBytes = 16;
    const std::size_t textBytes = (static_cast<std::size_t>(data.size()) + 2) / 3 * 4;
    std::string buffer(textBytes + 1 + guardBytes, kUntouched);
    const auto* in = reinterpret_cast<const unsigned char*>(data.constData());

    const int length = hv_base64_encode(in, static_cast<unsigned int>(data.size()), buffer.data());

    return {QByteArray(buffer.data(), length), buffer.substr(textBytes + 1)};
}

QByteArray EveryByteInTurn(int size)
{
    QByteArray data(size, Qt::Uninitialized);
    for (int i = 0; i < size; ++i)
        data[i] = static_cast<char>(i * 7 + i / 256);
    return data;
}

TEST(Base64, KnownTextsComeOut)
{
    const std::pair<const char*, const char*> vectors[] = {
        {"", ""},
        {"f", "Zg=="},
        {"fo", "Zm8="},
        {"foo", "Zm9v"},
        {"foob", "Zm9vYg=="},
        {"fooba", "Zm9vYmE="},
        {"foobar", "Zm9vYmFy"},
        {"\xfb\xff\xfe", "+//+"},
    };

    for (const auto& [plain, text] : vectors)
        EXPECT_EQ(Encode(plain).text, text);
}

TEST(Base64, ALongInputComesBackWholeFromDecoding)
{
    for (const int size : {3 << 20, (3 << 20) + 1, (6 << 20) + 2}) {
        const QByteArray data = EveryByteInTurn(size);

        EXPECT_TRUE(QByteArray::fromBase64(Encode(data).text, QByteArray::AbortOnBase64DecodingErrors) == data) << size;
    }
}

TEST(Base64, AtMostOneByteIsWrittenBehindTheText)
{
    for (const int size : {0, 1, 2, 3, 3 << 20, (3 << 20) + 1})
        EXPECT_THAT(Encode(EveryByteInTurn(size)).behind, Each(kUntouched)) << size;
}

} // namespace
