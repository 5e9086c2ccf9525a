#pragma once

#include "HostModels/Files/DeviceFile.h"
#include "HostModels/Show/Snapshot.h"
#include "Interfaces/ExControlDevModel.h"

#include <memory>

/// The external control devices, with what only the host does: loading them and keeping what is changed. Any thread;
/// changes come one after the other, from one thread.
class CHostExControlDevModel : public CExControlDevModel {
public:
    struct SDevices {
        QString file;
        std::vector<SDevice> devices;
    };

    SDevDataNode GetExControlDevNode(const QUuid& devId) override;
    QString GetFileSavePath() override { return m_devices.Read()->file; }

    /// Replaces the devices by the file's. Later changes are kept in it. Throws CFileError.
    void Load(const QString& file);
    /// Adds the device, or replaces the one with its id. False when that can't be kept: it holds until the end then.
    bool Put(const SDevice& device);
    /// The same of taking a device away.
    bool Delete(const QUuid& devId);
    std::shared_ptr<const SDevices> Current() const { return m_devices.Read(); }

private:
    bool Keep() const;

    CSnapshot<SDevices> m_devices;
};
