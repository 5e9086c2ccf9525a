#pragma once

#include "ExternalController/MsgSender/ReplyWriter.h"

#include <QByteArray>
#include <QJsonObject>
#include <QJsonValue>
#include <QLatin1String>
#include <QString>
#include <QStringList>
#include <QUuid>

#include <cstddef>
#include <cstdint>
#include <initializer_list>
#include <memory>
#include <string_view>
#include <type_traits>
#include <utility>
#include <vector>

/// A key of a reply: a literal of ASCII characters that JSON doesn't escape.
class CReplyKey {
public:
    template <std::size_t Size>
    constexpr CReplyKey(const char (&literal)[Size]) : m_literal(literal), m_size(Size - 1)
    {
        for (std::size_t i = 0; i < sizeof m_order; ++i)
            m_order = m_order << 8 | (i < Size - 1 ? static_cast<unsigned char>(literal[i]) : 0U);
    }

    std::string_view Text() const { return {m_literal, m_size}; }
    QLatin1String Latin1() const { return QLatin1String(m_literal, static_cast<int>(m_size)); }

    friend bool operator==(const CReplyKey& a, const CReplyKey& b)
    {
        return a.m_order == b.m_order && a.Text() == b.Text();
    }
    friend bool operator<(const CReplyKey& a, const CReplyKey& b)
    {
        return a.m_order != b.m_order ? a.m_order < b.m_order : a.Text() < b.Text();
    }

private:
    const char* m_literal;
    std::uint32_t m_size;
    std::uint32_t m_order = 0; ///< the first characters as a number, because most keys differ in these
};

/// An array or object inside a reply. Copies of the reply share it.
class IReplyPart {
public:
    virtual ~IReplyPart() = default;
    virtual void Write(CReplyWriter& writer) const = 0;
};

/// The items of a list. Each is made when it is written. As a part of a reply they are an array.
class IReplyItems : public IReplyPart {
public:
    void Write(CReplyWriter& writer) const final { writer.WriteArray(*this); }
    virtual std::size_t Count() const = 0;
    virtual void WriteItem(CReplyWriter& writer, std::size_t index) const = 0;
};

template <class Value>
class CReplyPart final : public IReplyPart {
public:
    explicit CReplyPart(Value value) : m_value(std::move(value)) {}

    void Write(CReplyWriter& writer) const override { writer.Write(m_value); }

private:
    Value m_value;
};

template <class Values, class MakeItem>
class CReplyItems final : public IReplyItems {
public:
    CReplyItems(Values values, MakeItem makeItem) : m_values(std::move(values)), m_makeItem(std::move(makeItem)) {}

    std::size_t Count() const override { return static_cast<std::size_t>(m_values.size()); }
    void WriteItem(CReplyWriter& writer, std::size_t index) const override
    {
        writer.Write(m_makeItem(*(m_values.begin() + static_cast<std::ptrdiff_t>(index))));
    }

private:
    Values m_values;
    MakeItem m_makeItem;
};

/// An array inside a reply.
class CReplyArray {
public:
    /// \param values   a container with random access; pass a long one with std::move
    /// \param makeItem returns the item for a value: a CReply, a QString or another type that CReplyWriter writes. Each
    ///                 item is made when the text is written, so that a long list needs little memory: what makeItem
    ///                 refers to must exist until then
    template <class Values, class MakeItem>
    CReplyArray(Values values, MakeItem makeItem)
        : m_items(std::make_shared<const CReplyItems<Values, MakeItem>>(std::move(values), std::move(makeItem)))
    {}

    const std::shared_ptr<const IReplyItems>& Items() const { return m_items; }

private:
    std::shared_ptr<const IReplyItems> m_items;
};

/// A JSON object that is built for a reply.
///
/// The members may be set in any order: the text has them in the order of QJsonObject, and is byte for byte the text
/// that QJsonDocument::toJson writes. Only the members of a request's body are stored as values of Qt's JSON classes.
class CReply {
public:
    struct SMember {
        template <class Given>
        SMember(CReplyKey memberKey, Given&& given) : key(memberKey), value(ToValue(std::forward<Given>(given)))
        {}

        CReplyKey key;
        ReplyValue value;
    };

    CReply() = default;
    CReply(std::initializer_list<SMember> members) : m_members(members) {}
    /// Starts with the members of an object, such as the body of the request.
    CReply(QJsonObject body) : m_body(std::move(body)), m_hasBody(!m_body.isEmpty()) {}

    /// Sets a member to a number, a text, an id, a CReply, a CReplyArray, a QStringList or a QJsonObject. An earlier
    /// member with the same key is replaced.
    template <class Given>
    void Set(CReplyKey key, Given&& given)
    {
        if (m_hasBody)
            m_body.insert(key.Latin1(), QJsonValue());
        m_members.emplace_back(key, std::forward<Given>(given));
    }
    void Remove(CReplyKey key);
    /// Allocates the memory for this number of members, so that setting them doesn't allocate it in steps.
    void Reserve(std::size_t members) { m_members.reserve(members); }
    bool IsEmpty() const { return m_members.empty() && m_body.isEmpty(); }

    /// Adds a member for each value. Its key is the index of the value, in decimal; the parameters are those of
    /// CReplyArray. Call it at most once. All other keys must be greater than a digit, as those that begin with a
    /// letter are.
    template <class Values, class MakeItem>
    void AddNumbered(Values values, MakeItem makeItem)
    {
        m_numbered = std::make_shared<const CReplyItems<Values, MakeItem>>(std::move(values), std::move(makeItem));
    }

    /// Returns the indented JSON text in UTF-8, the form in which replies are sent.
    QByteArray Text() const;

private:
    friend class CReplyWriter;

    template <class Given>
    static ReplyValue ToValue(Given&& given)
    {
        using Type = std::decay_t<Given>;
        if constexpr (std::is_same_v<Type, bool> || std::is_same_v<Type, QUuid> || std::is_same_v<Type, SPlainText>)
            return given;
        else if constexpr (std::is_integral_v<Type> || std::is_enum_v<Type>)
            return static_cast<std::int64_t>(given);
        else if constexpr (std::is_floating_point_v<Type>)
            return static_cast<double>(given);
        else if constexpr (std::is_convertible_v<Given, QString>)
            return QString(std::forward<Given>(given));
        else if constexpr (std::is_same_v<Type, CReplyArray>)
            return given.Items();
        else
            return std::make_shared<const CReplyPart<Type>>(std::forward<Given>(given));
    }

    /// With m_hasBody it contains all keys, and null for those of m_members. The order of keys that a peer has sent is
    /// that of QJsonObject, which sorts some of them, such as the empty key, in a different way after parsing.
    QJsonObject m_body;
    bool m_hasBody = false;
    std::vector<SMember> m_members; ///< as they were set; of those with the same key the last one counts
    std::shared_ptr<const IReplyItems> m_numbered;
};
