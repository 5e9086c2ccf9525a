#pragma once

#include "Interfaces/ZXComm.h"

#include <memory>
#include <string>
#include <utility>

/// Returns the package that the module passes to a channel to send these bytes.
inline std::shared_ptr<Comm::RequestPackage> Package(std::string bytes)
{
    auto package = std::make_shared<Comm::RequestPackage>();
    package->data = std::move(bytes);
    package->length = package->data.size();
    return package;
}
