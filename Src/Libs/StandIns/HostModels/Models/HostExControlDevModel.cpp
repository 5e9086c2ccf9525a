#include "HostModels/HostModels.h"

#include "HostModels/Files/JsonFile.h"

#include <algorithm>
#include <utility>

namespace {

template <class Devices>
auto Find(Devices& devices, const QUuid& devId)
{
    return std::find_if(devices.begin(), devices.end(),
                        [&](const SDevice& device) { return device.node.devId == devId; });
}

} // namespace

SDevDataNode CHostExControlDevModel::GetExControlDevNode(const QUuid& devId)
{
    const auto current = m_devices.Read();
    const auto found = Find(current->devices, devId);
    return found == current->devices.end() ? SDevDataNode{} : found->node;
}

void CHostExControlDevModel::Load(const QString& file)
{
    SDevices loaded{file, ReadDeviceFile(file)};
    m_devices.Change([&](SDevices& current) { current = std::move(loaded); });
}

bool CHostExControlDevModel::Put(const SDevice& device)
{
    m_devices.Change([&](SDevices& current) {
        const auto found = Find(current.devices, device.node.devId);
        if (found == current.devices.end())
            current.devices.push_back(device);
        else
            *found = device;
    });
    return Keep();
}

bool CHostExControlDevModel::Delete(const QUuid& devId)
{
    m_devices.Change([&](SDevices& current) {
        const auto found = Find(current.devices, devId);
        if (found != current.devices.end())
            current.devices.erase(found);
    });
    return Keep();
}

bool CHostExControlDevModel::Keep() const
{
    const auto current = m_devices.Read();
    return KeepJsonObject(current->file, DeviceFileOf(current->devices));
}

CExControlDevModel* CExControlDevModel::GetInstance()
{
    return &HostModels::Devices();
}

CHostExControlDevModel& HostModels::Devices()
{
    static CHostExControlDevModel model;
    return model;
}
