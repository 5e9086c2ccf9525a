#include "Interfaces/ZXComm.h"

#include "Comm/Envelope.h"
#include "ExternalController/Common/JsonReader.h"

#include <algorithm>
#include <chrono>
#include <string_view>
#include <utility>

namespace {

constexpr int kHeaderBytes = static_cast<int>(Envelope::kCodeHeaderBytes);
constexpr int kMarkBytes = static_cast<int>(Envelope::kMarkBytes);

void AppendNumber(QByteArray& bytes, std::uint32_t number)
{
    char text[sizeof number];
    Envelope::WriteNumber(text, number);
    bytes.append(text, sizeof text);
}

bool IsCodeForm(const QByteArray& packet)
{
    return packet.size() >= kHeaderBytes && packet.startsWith(Envelope::kCodeMark);
}

/// Whether the body is missing or an empty object, as it is in most requests. These need no parser.
bool IsEmpty(std::string_view body)
{
    return body.empty() || body == "{}" || body == "{\n}\n";
}

} // namespace

Comm::RequestPackage::RequestPackage()
{
    using namespace std::chrono;
    using Ticks = duration<std::int64_t, std::ratio<1, 10'000'000>>;
    createdMonotonic = duration_cast<nanoseconds>(steady_clock::now().time_since_epoch()).count();
    createdWallClock = duration_cast<Ticks>(system_clock::now().time_since_epoch()).count();
}

CAppDataPack::CAppDataPack(QByteArray packet) : m_data(std::move(packet)) {}

CAppDataPack::CAppDataPack(unsigned int cmdCode, QByteArray json) : m_data(std::move(json))
{
    const auto bodyBytes = static_cast<std::uint32_t>(m_data.size());
    // Moves the body within its memory if this object is its only owner.
    m_data.insert(0, kHeaderBytes, '\0');
    char* const header = m_data.data();
    std::copy_n(Envelope::kCodeMark, kMarkBytes, header);
    Envelope::WriteNumber(header + kMarkBytes, cmdCode);
    Envelope::WriteNumber(header + kHeaderBytes - sizeof bodyBytes, bodyBytes);
}

CAppDataPack::CAppDataPack(const QUuid& id, const QByteArray& bytes)
{
    m_data.reserve(static_cast<int>(Envelope::kIdHeaderBytes) + bytes.size());
    m_data.append(Envelope::kIdMark, kMarkBytes);
    m_data.append(id.toRfc4122());
    AppendNumber(m_data, static_cast<std::uint32_t>(bytes.size()));
    m_data.append(bytes);
}

void CAppDataPack::ReadJsonFromData(QJsonObject& json) const
{
    json = {};
    if (!IsCodeForm(m_data))
        return;
    const char* const body = m_data.constData() + kHeaderBytes;
    const int bytes = m_data.size() - kHeaderBytes;
    if (!IsEmpty({body, static_cast<std::size_t>(bytes)}))
        json = ReadJson(QByteArray::fromRawData(body, bytes)).object();
}

unsigned int CAppDataPack::GetCmdCode() const
{
    return IsCodeForm(m_data) ? Envelope::ReadNumber(m_data.constData() + kMarkBytes) : 0;
}

QByteArray CAppDataPack::GetData() const
{
    return m_data;
}
