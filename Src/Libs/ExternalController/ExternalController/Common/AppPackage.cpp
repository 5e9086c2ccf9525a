#include "ExternalController/Common/AppPackage.h"

#include <cstddef>
#include <utility>

std::shared_ptr<Comm::RequestPackage> MakeAppPackage(unsigned int cmdCode, QByteArray json)
{
    auto package = std::make_shared<Comm::RequestPackage>();
    const QByteArray envelope = CAppDataPack(cmdCode, std::exchange(json, {})).GetData();
    package->data.assign(envelope.constData(), static_cast<std::size_t>(envelope.size()));
    package->length = package->data.size();
    return package;
}
