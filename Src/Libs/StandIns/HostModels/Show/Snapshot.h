#pragma once

#include <memory>
#include <mutex>
#include <utility>

/// A value that many threads read while it is edited. The pointer that Read returns is to an immutable version of the
/// value; readers don't wait for edits. Edits are serialized. Any thread.
template <class Value>
class CSnapshot {
public:
    explicit CSnapshot(Value value = {}) : m_current(std::make_shared<const Value>(std::move(value))) {}

    /// The current version.
    std::shared_ptr<const Value> Read() const
    {
        const std::lock_guard lock(m_mutex);
        return m_current;
    }

    /// Calls edit(Value&) with a copy of the value and publishes the copy.
    template <class Edit>
    void Change(Edit&& edit)
    {
        Change(std::forward<Edit>(edit), [](const auto&, const auto&) {});
    }

    /// As above. Then calls published(before, after) with shared pointers to the old and the new version. Readers
    /// already get the new version. The next edit starts after the call returns, so calls are in the order of the
    /// edits. published must not call Change: that would deadlock.
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
    mutable std::mutex m_mutex; ///< held only while the pointer is copied
    std::shared_ptr<const Value> m_current;
};
