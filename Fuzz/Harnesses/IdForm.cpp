#include "FuzzHost.h"

#include "ExternalController/Common/Command.h"
#include "Interfaces/ZXComm.h"

#include <QUuid>

namespace {

constexpr int kIdHeaderBytes = 24;

void CheckWriting(const QUuid& id, const QByteArray& bytes)
{
    const QByteArray packed = CAppDataPack(id, bytes).GetData();
    FuzzHost::Require(packed.size() == kIdHeaderBytes + bytes.size() && packed.endsWith(bytes),
                      "the id form has its bytes");
    FuzzHost::Require(QUuid::fromRfc4122(packed.mid(4, 16)) == id, "the id form has its id");
}

void CheckReading(const QByteArray& packet)
{
    const CAppDataPack pack(packet);
    QJsonObject json = {{"left", "over"}};
    pack.ReadJsonFromData(json);
    FuzzHost::Require(!json.contains("left"), "reading replaces the object");
    FuzzHost::Require(pack.GetCmdCode() == 0 || packet.startsWith("ZXAP"), "only the code form has a code");
}

} // namespace

// Bytes as both forms of the envelope, single and nested.
void FuzzInput(std::string_view input)
{
    const std::string bytes(input);
    const QByteArray array(input.data(), static_cast<int>(input.size()));
    CheckWriting(QUuid(QString::fromStdString(bytes)), array);
    CheckReading(array);
    CheckReading("ZXID" + array);
    FuzzHost::SendBytes(FuzzHost::EChannel::AppBulk, bytes);
    FuzzHost::SendBytes(FuzzHost::EChannel::AppBulk, "ZXID" + bytes);
    FuzzHost::SendEnvelope(FuzzHost::EChannel::AppBulk, Command::ResourceThumbnail, "ZXID" + bytes);
    FuzzHost::SendEnvelope(FuzzHost::EChannel::FP, Command::ResourceThumbnail, "ZXID" + bytes);
}
