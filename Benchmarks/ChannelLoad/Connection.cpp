#include "ChannelLoad/Connection.h"

#include "Comm/Envelope.h"
#include "ExternalController/Common/Command.h"

#include <QJsonDocument>
#include <QJsonObject>

#include <algorithm>
#include <array>
#include <cstring>
#include <stdexcept>
#include <system_error>

#include <arpa/inet.h>
#include <netinet/tcp.h>
#include <sys/socket.h>
#include <sys/time.h>

namespace {

/// Far above any reply's time even on a busy machine: past it the server has lost a request.
constexpr timeval kTimeout = {10, 0};
constexpr std::size_t kMaxDatagramBytes = 65535;

std::string MakeEnvelope(std::uint32_t code, std::string_view body)
{
    std::string envelope(Envelope::kCodeHeaderBytes, '\0');
    envelope.replace(0, Envelope::kMarkBytes, Envelope::kCodeMark);
    Envelope::WriteNumber(&envelope[Envelope::kMarkBytes], code);
    Envelope::WriteNumber(&envelope[Envelope::kMarkBytes + 4], static_cast<std::uint32_t>(body.size()));
    return envelope.append(body);
}

template <class Value>
void SetOption(const CDescriptor& socket, int level, int option, const Value& value)
{
    Syscall::Do("setsockopt", [&] { return setsockopt(socket.Get(), level, option, &value, sizeof value); });
}

CDescriptor Connect(const std::string& name, const sockaddr_in& address, bool isDatagram)
{
    const int type = isDatagram ? SOCK_DGRAM : SOCK_STREAM;
    CDescriptor socket(Syscall::Do("socket", [&] { return ::socket(AF_INET, type | SOCK_CLOEXEC, 0); }));
    if (!isDatagram)
        SetOption(socket, IPPROTO_TCP, TCP_NODELAY, 1);
    SetOption(socket, SOL_SOCKET, SO_RCVTIMEO, kTimeout);
    SetOption(socket, SOL_SOCKET, SO_SNDTIMEO, kTimeout);
    const auto generic = reinterpret_cast<const sockaddr*>(&address);
    Syscall::Do((name + ": connect").c_str(), [&] { return connect(socket.Get(), generic, sizeof address); });
    return socket;
}

void SendAll(const CDescriptor& socket, std::string_view bytes)
{
    while (!bytes.empty()) {
        const auto sent =
            Syscall::Do("send", [&] { return send(socket.Get(), bytes.data(), bytes.size(), MSG_NOSIGNAL); });
        bytes.remove_prefix(static_cast<std::size_t>(sent));
    }
}

std::size_t ReceiveSome(const std::string& name, const CDescriptor& socket, char* bytes, std::size_t size)
{
    try {
        const auto count = Syscall::Do("recv", [&] { return recv(socket.Get(), bytes, size, 0); });
        if (count > 0)
            return static_cast<std::size_t>(count);
    } catch (const std::system_error& error) {
        throw std::runtime_error(name + " doesn't answer: " + error.what());
    }
    throw std::runtime_error(name + " closed the connection");
}

std::string ReceiveExactly(const std::string& name, const CDescriptor& socket, std::size_t size)
{
    std::string bytes(size, '\0');
    for (std::size_t at = 0; at < size;)
        at += ReceiveSome(name, socket, &bytes[at], size - at);
    return bytes;
}

/// Returns the length of the body after the header of a valid reply.
std::size_t BodyBytes(const std::string& name, const std::string& header, const std::string& request)
{
    if (header.compare(0, Envelope::kMarkBytes, Envelope::kCodeMark) != 0)
        throw std::runtime_error(name + ": the reply is not an envelope");
    const std::uint32_t code = Envelope::ReadNumber(&header[Envelope::kMarkBytes]);
    if (code != Command::ReplyTo(static_cast<int>(Envelope::ReadNumber(&request[Envelope::kMarkBytes]))))
        throw std::runtime_error(name + ": the reply has the code " + std::to_string(code));
    const std::size_t length = Envelope::ReadNumber(&header[Envelope::kMarkBytes + 4]);
    if (length > Envelope::kMaxReplyBodyBytes)
        throw std::runtime_error(name + ": the reply claims a body of " + std::to_string(length) + " bytes");
    return length;
}

} // namespace

sockaddr_in MakeAddress(const std::string& ip, std::uint16_t port)
{
    sockaddr_in address = {};
    address.sin_family = AF_INET;
    address.sin_port = htons(port);
    if (inet_pton(AF_INET, ip.c_str(), &address.sin_addr) != 1)
        throw std::runtime_error("expected an IPv4 address, got \"" + ip + '"');
    return address;
}

std::string MakeAppRequest(Command::Code code, std::string_view body)
{
    return MakeEnvelope(static_cast<unsigned int>(code), body);
}

std::string AskForReply(const std::string& name, const sockaddr_in& address, const SExchange& exchange,
                        const std::string& key)
{
    const CDescriptor socket = Connect(name, address, exchange.isDatagram);
    SendAll(socket, exchange.request);

    std::string header;
    std::string body;
    if (exchange.isDatagram) {
        body.resize(kMaxDatagramBytes);
        body.resize(ReceiveSome(name, socket, body.data(), body.size()));
    } else {
        header = ReceiveExactly(name, socket, Envelope::kCodeHeaderBytes);
        body = ReceiveExactly(name, socket, BodyBytes(name, header, exchange.request));
    }
    const QJsonObject json = QJsonDocument::fromJson(QByteArray::fromStdString(body)).object();
    if (!json.contains(QString::fromStdString(key)))
        throw std::runtime_error(name + ": the reply has no key " + key + ": " + body);
    return header + body;
}

CConnection::CConnection(const std::string& name, const sockaddr_in& address, const SExchange& exchange)
    : m_name(name), m_exchange(exchange), m_socket(Connect(name, address, exchange.isDatagram))
{}

void CConnection::Send(std::string_view requests)
{
    const std::size_t step = m_exchange.isDatagram ? m_exchange.request.size() : requests.size();
    for (; !requests.empty(); requests.remove_prefix(step))
        SendAll(m_socket, requests.substr(0, step));
}

std::size_t CConnection::ReceiveReplies()
{
    std::array<char, 16384> buffer;
    const std::string& reply = m_exchange.reply;
    std::string_view arrived(buffer.data(), ReceiveSome(m_name, m_socket, buffer.data(), buffer.size()));
    std::size_t replies = 0;
    while (!arrived.empty()) {
        const std::size_t part = std::min(arrived.size(), reply.size() - m_ofReply);
        if (std::memcmp(arrived.data(), reply.data() + m_ofReply, part) != 0)
            throw std::runtime_error(m_name + " sent a reply that differs from its first one");
        arrived.remove_prefix(part);
        m_ofReply += part;
        if (m_ofReply == reply.size()) {
            m_ofReply = 0;
            ++replies;
        }
    }
    return replies;
}

void CConnection::Exchange()
{
    Send(m_exchange.request);
    std::size_t replies = 0;
    while (replies == 0)
        replies = ReceiveReplies();
    if (replies > 1 || m_ofReply != 0)
        throw std::runtime_error(m_name + " sent more than one reply to a request");
}
