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

/// A JSON object that is being built for a reply. Handlers say what is in it; how it is held and written is known here
/// alone.
class CReply {
public:
    /// A key, in ASCII, with its value.
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
    /// A body that goes back as it came, or with changes.
    CReply(QJsonObject body) : m_object(std::move(body)) {}

    template <class Value>
    void Set(const char* key, Value&& value)
    {
        m_object.insert(QLatin1String(key), ToJson(std::forward<Value>(value)));
    }
    void Remove(const char* key) { m_object.remove(QLatin1String(key)); }
    /// What an array holds.
    QJsonValue Take() && { return Hold(std::move(m_object)); }
    bool IsEmpty() const { return m_object.isEmpty(); }

    /// Adds makeItem of each value under the decimal text of its place. They are made in the order of those texts,
    /// which is the order in which the object holds them: a long list grows at its end alone.
    template <class Values, class MakeItem>
    void AddNumbered(const Values& values, MakeItem&& makeItem)
    {
        AddDecade(0, values, makeItem);
    }

    /// The indented text, as it goes out.
    QByteArray Text() const;
    /// The same, and nothing is left of what it was made from.
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

    /// What is moved in is left empty: Qt only shares it, and a long list would outlive the reply that is done with it.
    template <class Container>
    static QJsonValue Hold(Container&& container)
    {
        QJsonValue held(container);
        if constexpr (!std::is_lvalue_reference_v<Container> && !std::is_const_v<Container>)
            container = {};
        return held;
    }

    /// Ten places, each with those behind it whose numbers begin with its digits.
    template <class Values, class MakeItem>
    void AddDecade(std::size_t first, const Values& values, MakeItem& makeItem)
    {
        const auto count = static_cast<std::size_t>(values.size());
        for (std::size_t place = first; place < first + 10 && place < count; ++place) {
            m_object.insert(QString::number(place),
                            ToJson(makeItem(*(values.begin() + static_cast<std::ptrdiff_t>(place)))));
            if (place > 0 && place <= (count - 1) / 10)
                AddDecade(place * 10, values, makeItem);
        }
    }

    QJsonObject m_object;
};
