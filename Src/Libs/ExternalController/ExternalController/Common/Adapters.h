#pragma once

#include "Interfaces/IpHelper.h"

#include <QString>

#include <cstddef>
#include <vector>

/// The machine's network adapters.
class CAdapters {
public:
    /// All of them.
    CAdapters();
    /// Those of a machine whose adapters fit into so many bytes; otherwise none.
    explicit CAdapters(ULONG bytes);

    /// The first of the chain; null when there is none.
    const IP_ADAPTER_INFO* First() const { return m_records.empty() ? nullptr : m_records.data(); }

private:
    void Read(ULONG bytes);

    std::vector<IP_ADAPTER_INFO> m_records;
};

/// The first bytes of the hardware address, such as "00-1B-44-11-3A-B7".
QString MacText(const IP_ADAPTER_INFO& adapter, std::size_t bytes);
