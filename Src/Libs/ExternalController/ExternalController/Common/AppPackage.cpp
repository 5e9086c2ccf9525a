#include "ExternalController/Common/AppPackage.h"

#include <cstddef>

std::shared_ptr<Comm::RequestPackage> MakeAppPackage(unsigned int cmdCode, const QByteArray& json)
{
    auto package = std::make_shared<Comm::RequestPackage>();
    const QByteArray envelope = CAppDataPack(cmdCode, json).GetData();
    package->data.assign(envelope.constData(), static_cast<std::size_t>(envelope.size()));
    package->length = package->data.size();
    return package;
}
