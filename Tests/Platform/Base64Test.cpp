#include "Interfaces/Hv.h"

#include <QByteArray>

#include <gmock/gmock.h>

#include <cstddef>
#include <string>

namespace {

/// Encodes, and checks that at most one byte is written after the text.
QByteArray Encode(const QByteArray& data)
{
    const std::string guard(16, '#');
    const std::size_t textBytes = (static_cast<std::size_t>(data.size()) + 2) / 3 * 4;
    std::string buffer = std::string(textBytes + 1, '#') + guard;
    const auto* in = reinterpret_cast<const unsigned char*>(data.constData());

    const int length = hv_base64_encode(in, static_cast<unsigned int>(data.size()), buffer.data());

    EXPECT_EQ(buffer.substr(textBytes + 1), guard) << data.size();
    return QByteArray(buffer.data(), length);
}

} // namespace

TEST(Base64, DecodingRestoresTheEncodedBytes)
{
    for (const int size : {0, 1, 2, 3, 3 << 20, (3 << 20) + 1, (6 << 20) + 2}) {
        QByteArray data(size, Qt::Uninitialized);
        for (int i = 0; i < size; ++i)
            data[i] = static_cast<char>(i * 7 + i / 256);

        EXPECT_TRUE(QByteArray::fromBase64(Encode(data), QByteArray::AbortOnBase64DecodingErrors) == data) << size;
    }
}
