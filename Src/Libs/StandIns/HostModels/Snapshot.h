#pragma once

#include <memory>
#include <mutex>
#include <utility>

/// A value that many threads read while the host edits it. A reader keeps one consistent state for as long as it holds
/// what Read gave it, and never waits for an edit; edits wait for one another.
template <class Value>
class CSnapshot {
public:
    explicit CSnapshot(Value value = {}) : m_current(std::make_shared<const Value>(std::move(value))) {}

    std::shared_ptr<const Value> Read() const
    {
        const std::lock_guard lock(m_mutex);
        return m_current;
    }

    /// Calls edit(Value&) with a copy and makes that the value.
    template <class Edit>
    void Change(Edit&& edit)
    {
        const std::lock_guard editing(m_editMutex);
        auto next = std::make_shared<Value>(*Read());
        edit(*next);
        const std::lock_guard lock(m_mutex);
        m_current = std::move(next);
    }

private:
    std::mutex m_editMutex;
    mutable std::mutex m_mutex; ///< held for the pointer's copy alone
    std::shared_ptr<const Value> m_current;
};
