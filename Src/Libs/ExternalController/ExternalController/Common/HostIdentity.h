#pragma once

#include "Interfaces/IpHelper.h"

#include <QString>

#include <cstddef>
#include <vector>

/// Returns the host name from the software settings, or the machine's name if the settings have none.
QString GetHostName();

/// Returns the first IPv4 address of this machine other than 127.0.0.1, or 127.0.0.1 if it has no other.
QString GetLocalIPv4();

/// The network adapters of this machine, as read by the constructor.
class CAdapters {
public:
    /// Reads all adapters.
    CAdapters();
    /// Reads all adapters if their records fit into this many bytes; otherwise the list is empty.
    explicit CAdapters(ULONG bytes);

    /// Returns the first adapter of the linked list, or null if the list is empty. This object owns the list.
    const IP_ADAPTER_INFO* First() const { return m_records.empty() ? nullptr : m_records.data(); }

private:
    void Read(ULONG bytes);

    std::vector<IP_ADAPTER_INFO> m_records;
};

/// Returns the first bytes of the hardware address as text, such as "00-1B-44-11-3A-B7".
QString MacText(const IP_ADAPTER_INFO& adapter, std::size_t bytes);
