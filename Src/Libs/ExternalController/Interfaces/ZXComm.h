#pragma once

#include <QByteArray>
#include <QJsonObject>
#include <QUuid>

#include <array>
#include <cstdint>
#include <string>

/// The communication library: the packages that channels exchange with the module.
namespace Comm {

/// What a channel delivers: bytes that arrived, or the notice that the peer's connection closed.
struct ResponsePackage {
    std::string payload;     ///< TCP: one whole app envelope; UDP: the datagram
    std::int32_t closed = 0; ///< not 0: the connection closed, and payload is empty
    std::string remoteIp;    ///< dotted IPv4 address of the peer
    std::uint16_t remotePort = 0;
    std::uint16_t localPort = 0; ///< the server port that the bytes arrived on
};

/// Bytes that the module passes to a channel to send. The channel may send them later, on another thread.
struct RequestPackage {
    /// Sets the two creation times.
    RequestPackage();

    std::int64_t sendStamp = 0; ///< milliseconds of the monotonic clock when the payload was filled in
    std::string data;           ///< the bytes to send
    std::uint64_t length = 0;   ///< bytes in data
    std::uint8_t flag = 0;
    std::uint32_t value = 0;
    std::array<std::uint32_t, 2> furtherValues{};
    std::int64_t createdMonotonic = 0; ///< nanoseconds of the monotonic clock
    std::int64_t createdWallClock = 0; ///< 100-nanosecond ticks of the system clock
    std::array<char, 48> rest{};
};

} // namespace Comm

/// The app envelope: a command code with a JSON body, or an id with raw bytes. Copies share the encoded bytes.
class CAppDataPack {
public:
    /// Reads a received envelope. Bytes that aren't an envelope give code 0 and an empty body.
    explicit CAppDataPack(QByteArray packet);
    CAppDataPack(unsigned int cmdCode, QByteArray json);
    /// The form for pictures and other binary data; it travels as the body of an envelope with a command code.
    CAppDataPack(const QUuid& id, const QByteArray& bytes);

    /// Sets json to the body's object, or to an empty object if the body is empty, malformed or not an object.
    void ReadJsonFromData(QJsonObject& json) const;
    /// 0 for the form that carries an id.
    unsigned int GetCmdCode() const;
    /// The whole encoded envelope.
    QByteArray GetData() const;

private:
    QByteArray m_data;
};
