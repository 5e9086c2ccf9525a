#include "FuzzHost.h"

#include "ExternalController/ExternalController.h"
#include "HostModels/Files/DeviceFile.h"
#include "HostModels/HostModels.h"

#include <QJsonDocument>

namespace {

void CheckWritten(const std::vector<SDevice>& devices)
{
    const QByteArray text = QJsonDocument(DeviceFileOf(devices)).toJson();
    const std::string_view view(text.constData(), static_cast<std::size_t>(text.size()));
    FuzzHost::Require(ReadDeviceFile(FuzzHost::WriteFile(view)).size() == devices.size(),
                      "a device file that was written can be read");
}

} // namespace

// The text of a device file. Its devices exist while the input is handled.
void FuzzInput(std::string_view input)
{
    try {
        const std::vector<SDevice> devices = ReadDeviceFile(FuzzHost::WriteFile(input));
        CheckWritten(devices);
        HostModels::Devices().Load(FuzzHost::WriteFile(input));
        for (const SDevice& device : devices) {
            GetExternalController()->CreateExControlDev(device.node.devId);
            GetExternalController()->UpdateExControlDev(device.node.devId);
            GetExternalController()->DelExControlDev(device.node.devId);
        }
    } catch (const CFileError&) {
    }
}
