#include "ExternalController/MsgSender/Reply.h"

#include <QJsonArray>
#include <QJsonDocument>

#include <gmock/gmock.h>

#include <cstring>
#include <limits>
#include <random>

namespace {

constexpr int kReplies = 100'000;

/// The same object, made with QJsonObject and with CReply.
struct SObject {
    QJsonObject qt;
    CReply reply;
};

/// Makes random objects with all types of values, and with the values that are written in a special way.
class CRandomReply {
public:
    SObject Object(int depth)
    {
        SObject object;
        const bool hasBody = Below(4) == 0;
        if (hasBody) {
            for (int n = Below(6); n > 0; --n)
                object.qt.insert(Below(2) == 0 ? QString(Key().Latin1()) : Text(), QJsonValue(Text()));
            object.qt.insert("deep", QJsonArray{Double(), QJsonValue(), true, QJsonObject{{Text(), QJsonArray()}}});
            if (Below(2) == 0)
                object.qt = QJsonDocument::fromJson(QJsonDocument(object.qt).toJson()).object();
            object.reply = object.qt;
        } else if (Below(8) == 0) {
            std::vector<CReply> items;
            for (int i = 0, count = Below(8) == 0 ? Below(120) : Below(12); i < count; ++i) {
                items.push_back(CReply{{"n", i}});
                object.qt.insert(QString::number(i), QJsonObject{{"n", i}});
            }
            object.reply.AddNumbered(std::move(items), [](const CReply& item) { return item; });
        }
        for (int n = Below(7); n > 0; --n) {
            CReplyKey key = Key();
            WithValue(depth, [&](const QJsonValue& qt, auto&& value) {
                object.qt.insert(key.Latin1(), qt);
                object.reply.Set(key, std::forward<decltype(value)>(value));
            });
            if (Below(10) == 0) {
                key = Key();
                object.qt.remove(key.Latin1());
                object.reply.Remove(key);
            }
        }
        return object;
    }

private:
    template <class Use>
    void WithValue(int depth, Use use)
    {
        switch (Below(depth > 0 ? 11 : 8)) {
        case 0:
            return use(true, true);
        case 1: {
            const auto value = static_cast<qint64>(m_random()) >> Below(64);
            return use(value, std::int64_t{value});
        }
        case 2:
        case 3: {
            const double value = Double();
            return use(value, value);
        }
        case 4: {
            const QString value = Text();
            return use(value, value);
        }
        case 5:
            return use("\"\xc3\xa4", "\"\xc3\xa4");
        case 6: {
            const QUuid id = QUuid::createUuidV5(QUuid(), QByteArray::number(Below(1000)));
            return use(id.toString(QUuid::WithoutBraces), id);
        }
        case 7: {
            const QStringList texts = Below(2) == 0 ? QStringList() : QStringList{Text(), Text()};
            return use(QJsonArray::fromStringList(texts), texts);
        }
        case 8: {
            std::vector<CReply> items;
            QJsonArray qt;
            for (int n = Below(3); n > 0; --n) {
                const SObject item = Object(depth - 1);
                qt.append(item.qt);
                items.push_back(item.reply);
            }
            return use(qt, CReplyArray(items, [](const CReply& item) { return item; }));
        }
        default: {
            SObject value = Object(depth - 1);
            return use(value.qt, std::move(value.reply));
        }
        }
    }

    /// Of these keys some differ only after eight characters, and some are the beginning of others.
    CReplyKey Key()
    {
        static constexpr CReplyKey kKeys[] = {"A",          "a b",          "a",         "aa",       "mediaId",
                                              "resourceId", "resourceType", "resources", "resource", "z_"};
        return kKeys[Below(10)];
    }

    QString Text()
    {
        QString text;
        for (int n = Below(10); n > 0; --n) {
            switch (Below(8)) {
            case 0:
                text += QChar(Below(0x20));
                break;
            case 1:
                text += QChar("\"\\/\x7f"[Below(4)]);
                break;
            case 2:
                text += QChar(0x80 + Below(0xff80));
                break;
            case 3:
                text += QChar(0xd800 + Below(0x800)); // half of a surrogate pair, or a pair with the next one
                break;
            default:
                text += QChar('A' + Below(60));
            }
        }
        return text;
    }

    double Double()
    {
        static constexpr double kSpecial[] = {0.1,     -0.0,
                                              1e20,    1e21,
                                              1e-4,    1e-5,
                                              5e-324,  18446744073709551616.0,
                                              1.5e300, std::numeric_limits<double>::infinity(),
                                              1e-100,  std::numeric_limits<double>::quiet_NaN()};
        const std::uint64_t bits = m_random();
        double value = 0;
        switch (Below(4)) {
        case 0:
            return kSpecial[Below(12)];
        case 1:
            return double{static_cast<float>(Below(100'000)) / 1000};
        case 2:
            return Below(2'000'000) / 1000.0;
        default:
            std::memcpy(&value, &bits, sizeof value);
            return value;
        }
    }

    int Below(int end) { return static_cast<int>(m_random() % static_cast<unsigned int>(end)); }

    std::mt19937_64 m_random;
};

} // namespace

TEST(ReplyTest, TheTextIsThatOfQJsonDocument)
{
    CRandomReply random;
    for (int i = 0; i < kReplies; ++i) {
        const SObject object = random.Object(3);
        ASSERT_EQ(object.reply.Text().toStdString(), QJsonDocument(object.qt).toJson().toStdString());
    }
}
