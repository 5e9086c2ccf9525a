#pragma once

#include "HostModels/Files/DeviceFile.h"
#include "HostModels/Show/Snapshot.h"
#include "Interfaces/ExControlDevModel.h"

#include <memory>

/// The external control devices, with the host's functions to load and to change them. Any thread may read; only one
/// thread may change.
class CHostExControlDevModel : public CExControlDevModel {
public:
    struct SDevices {
        QString file;
        std::vector<SDevice> devices;
    };

    SDevDataNode GetExControlDevNode(const QUuid& devId) override;
    QString GetFileSavePath() override { return m_devices.Read()->file; }

    /// Replaces the devices by those of the file, to which later changes are written. A file that doesn't exist
    /// contains no devices.
    /// \throws CFileError if the file can't be read or is invalid; the devices are unchanged then
    void Load(const QString& file);
    /// Adds the device, or replaces the device with its id. Returns false if the file can't be written; the change is
    /// then valid in memory only.
    bool Put(const SDevice& device);
    /// Deletes the device with this id, if it exists. Returns false as Put does.
    bool Delete(const QUuid& devId);
    std::shared_ptr<const SDevices> Current() const { return m_devices.Read(); }

private:
    bool Keep() const;

    CSnapshot<SDevices> m_devices;
};
