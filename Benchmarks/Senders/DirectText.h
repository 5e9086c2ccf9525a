#pragma once

#include "ExternalController/Common/JsonText.h"

#include <cstdint>
#include <string_view>

/// Writes an object of a reply from plain values, without storing them: the lowest cost of the text. The keys must be
/// written in the order of the text. The object ends with this one.
class CDirectObject {
public:
    CDirectObject(CJsonText& text, std::size_t indent) : m_text(text), m_indent(indent) { m_text.Add("{\n"); }
    ~CDirectObject()
    {
        if (!m_isFirst)
            m_text.Add("\n");
        m_text.AddSpaces(m_indent);
        m_text.Add("}");
    }
    CDirectObject(const CDirectObject&) = delete;
    CDirectObject& operator=(const CDirectObject&) = delete;

    void Key(std::string_view key)
    {
        m_text.StartMember(m_isFirst, m_indent + 4, key);
        m_isFirst = false;
    }
    template <class Value>
    void Set(std::string_view key, const Value& value)
    {
        Key(key);
        Add(value);
    }

private:
    void Add(bool value) { m_text.AddBool(value); }
    void Add(int value) { m_text.AddInteger(value); }
    void Add(qint64 value) { m_text.AddInteger(value); }
    void Add(std::int64_t value) { m_text.AddInteger(value); }
    void Add(double value) { m_text.AddDouble(value); }
    void Add(const QString& value) { m_text.AddString(value); }
    void Add(const QUuid& value) { m_text.AddUuid(value); }

    CJsonText& m_text;
    const std::size_t m_indent;
    bool m_isFirst = true;
};
