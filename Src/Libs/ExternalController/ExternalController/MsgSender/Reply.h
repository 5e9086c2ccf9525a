#pragma once

#include <QJsonArray>
#include <QJsonObject>
#include <QJsonValue>
#include <QLatin1String>
#include <QString>
#include <QUuid>

#include <cstddef>
#include <cstdint>
#include <initializer_list>
#include <type_traits>
#include <utility>

/// A JSON object that is built for a reply. Only this class depends on how the object is stored and written.
class CReply {
public:
    /// An ASCII key with its value.
    struct SMember {
        template <class Value>
        SMember(const char* memberKey, Value&& memberValue)
            : key(memberKey), value(ToJson(std::forward<Value>(memberValue)))
        {}

        QLatin1String key;
        QJsonValue value;
    };

    CReply() = default;
    CReply(std::initializer_list<SMember> members)
    {
        for (const SMember& member : members)
            m_object.insert(member.key, member.value);
    }
    /// Starts with the keys of an object, such as the body of the request.
    CReply(QJsonObject body) : m_object(std::move(body)) {}

    template <class Value>
    void Set(const char* key, Value&& value)
    {
        m_object.insert(QLatin1String(key), ToJson(std::forward<Value>(value)));
    }
    void Remove(const char* key) { m_object.remove(QLatin1String(key)); }
    /// Moves the object out, as an element for an array.
    QJsonValue Take() && { return Hold(std::move(m_object)); }
    bool IsEmpty() const { return m_object.isEmpty(); }

    /// Adds the result of makeItem for each value. The key is the index of the value, in decimal.
    /// Keys are added in alphabetical order ("0", "1", "10", "11", ..., "2"), the order in which QJsonObject stores
    /// them, so that each insertion into a long list appends.
    template <class Values, class MakeItem>
    void AddNumbered(const Values& values, MakeItem&& makeItem)
    {
        AddDecade(0, values, makeItem);
    }

    /// Returns the indented JSON text in UTF-8, the form in which replies are sent.
    QByteArray Text() const;
    /// Returns the same text and frees the object.
    QByteArray TakeText() &&;

private:
    template <class Value>
    static QJsonValue ToJson(Value&& value)
    {
        if constexpr (std::is_same_v<std::decay_t<Value>, CReply>)
            return Hold(std::forward<Value>(value).m_object);
        else if constexpr (std::is_same_v<std::decay_t<Value>, QJsonArray>)
            return Hold(std::forward<Value>(value));
        else if constexpr (std::is_same_v<std::decay_t<Value>, QUuid>)
            return value.toString(QUuid::WithoutBraces);
        else if constexpr (std::is_same_v<std::decay_t<Value>, std::int64_t> ||
                           std::is_same_v<std::decay_t<Value>, std::size_t>)
            return QJsonValue(static_cast<qint64>(value));
        else
            return QJsonValue(std::forward<Value>(value));
    }

    /// Empties a container that is moved in. QJsonValue only shares its data, so a long list would otherwise stay in
    /// memory after the reply has been sent.
    template <class Container>
    static QJsonValue Hold(Container&& container)
    {
        QJsonValue held(container);
        if constexpr (!std::is_lvalue_reference_v<Container> && !std::is_const_v<Container>)
            container = {};
        return held;
    }

    /// Adds the ten indexes from first on, and after each of them the larger indexes that begin with its digits.
    template <class Values, class MakeItem>
    void AddDecade(std::size_t first, const Values& values, MakeItem& makeItem)
    {
        const auto count = static_cast<std::size_t>(values.size());
        for (std::size_t index = first; index < first + 10 && index < count; ++index) {
            m_object.insert(QString::number(index),
                            ToJson(makeItem(*(values.begin() + static_cast<std::ptrdiff_t>(index)))));
            if (index > 0 && index <= (count - 1) / 10)
                AddDecade(index * 10, values, makeItem);
        }
    }

    QJsonObject m_object;
};
