#include "ExternalController/Common/AppPackage.h"

#include <cstddef>
#include <string>
#include <utility>

std::shared_ptr<Comm::RequestPackage> MakeAppPackage(unsigned int cmdCode, QByteArray json)
{
    auto package = std::make_shared<Comm::RequestPackage>();
    const QByteArray envelope = CAppDataPack(cmdCode, std::move(json)).GetData();
    package->data = std::string(envelope.constData(), static_cast<std::size_t>(envelope.size()));
    package->length = package->data.size();
    return package;
}

SOperation ReadAppRequest(const Comm::ResponsePackage& packet, Source::Flag source)
{
    // Not copied: the packet exists longer than the pack.
    const CAppDataPack pack(QByteArray::fromRawData(packet.payload.data(), static_cast<int>(packet.payload.size())));
    QJsonObject body;
    pack.ReadJsonFromData(body);
    return MakeRequest(static_cast<int>(pack.GetCmdCode()), std::move(body), source);
}
