#include "Interfaces/ZXComm.h"

#include "Comm/Envelope.h"
#include "ExternalController/Common/JsonReader.h"

#include <chrono>
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

} // namespace

Comm::RequestPackage::RequestPackage()
{
    using namespace std::chrono;
    using Ticks = duration<std::int64_t, std::ratio<1, 10'000'000>>;
    createdMonotonic = duration_cast<nanoseconds>(steady_clock::now().time_since_epoch()).count();
    createdWallClock = duration_cast<Ticks>(system_clock::now().time_since_epoch()).count();
}

CAppDataPack::CAppDataPack(QByteArray packet) : m_data(std::move(packet)) {}

CAppDataPack::CAppDataPack(unsigned int cmdCode, const QByteArray& json)
{
    m_data.reserve(kHeaderBytes + json.size());
    m_data.append(Envelope::kCodeMark, kMarkBytes);
    AppendNumber(m_data, cmdCode);
    AppendNumber(m_data, static_cast<std::uint32_t>(json.size()));
    m_data.append(json);
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
    if (!IsCodeForm(m_data) || m_data.size() == kHeaderBytes)
        return;
    const auto body = QByteArray::fromRawData(m_data.constData() + kHeaderBytes, m_data.size() - kHeaderBytes);
    json = ReadJson(body).object();
}

unsigned int CAppDataPack::GetCmdCode() const
{
    return IsCodeForm(m_data) ? Envelope::ReadNumber(m_data.constData() + kMarkBytes) : 0;
}

QByteArray CAppDataPack::GetData() const
{
    return m_data;
}
