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
        Change(std::forward<Edit>(edit), [](const auto&, const auto&) {});
    }

    /// As above, and then calls published(before, after) with shared pointers to the two values. Readers have the new
    /// value by then, and the next edit begins after it: such calls come in the order of the edits. It must not edit.
    template <class Edit, class Published>
    void Change(Edit&& edit, Published&& published)
    {
        const std::lock_guard editing(m_editMutex);
        const std::shared_ptr<const Value> before = Read();
        auto copy = std::make_shared<Value>(*before);
        edit(*copy);
        const std::shared_ptr<const Value> after = std::move(copy);
        {
            const std::lock_guard lock(m_mutex);
            m_current = after;
        }
        published(before, after);
    }

private:
    std::mutex m_editMutex;
    mutable std::mutex m_mutex; ///< held for the pointer's copy alone
    std::shared_ptr<const Value> m_current;
};
