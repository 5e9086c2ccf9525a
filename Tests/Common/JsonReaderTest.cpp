#include "ExternalController/Common/JsonReader.h"
#include "ExternalController/Common/JsonScan.h"

#include <QJsonArray>
#include <QJsonObject>

#include <gmock/gmock.h>

#include <algorithm>
#include <random>
#include <vector>

using testing::HasSubstr;
using testing::Not;

namespace {

std::string ReasonFor(const QByteArray& text)
{
    SJsonError error{-1, "not set"};
    const QJsonDocument document = ReadJson(text, &error);
    EXPECT_EQ(document.isNull(), !error.reason.isEmpty());
    return error.reason.toStdString();
}

QByteArray TwoMembers(const QByteArray& key, const QByteArray& other)
{
    return "{\"" + key + "\": [1], \"" + other + "\": [2]}";
}

int CountMembers(const QJsonValue& value)
{
    int count = value.isObject() ? value.toObject().size() : 0;
    for (const QJsonValue& member : value.toObject())
        count += CountMembers(member);
    for (const QJsonValue& item : value.toArray())
        count += CountMembers(item);
    return count;
}

/// Returns how many members a valid text has, including those with a repeated key.
int CountColons(const QByteArray& text)
{
    int count = 0;
    bool isInString = false;
    for (int i = 0; i < text.size(); ++i) {
        isInString ^= text[i] == '"';
        count += !isInString && text[i] == ':';
        i += isInString && text[i] == '\\';
    }
    return count;
}

class CGenerator {
public:
    explicit CGenerator(std::uint32_t seed) : m_random(seed) {}

    int Below(int end) { return static_cast<int>(m_random() % static_cast<unsigned>(end)); }
    bool HasRepeatedKey() const { return m_hasRepeatedKey; }

    QByteArray Object(int depth)
    {
        QByteArray text = "{" + Space();
        QList<int> names;
        for (int count = Below(9) ? Below(6) : Below(70); count > 0; --count) {
            const int name = Below(50) ? names.size() : Below(names.size() + 1);
            m_hasRepeatedKey |= names.contains(name);
            names += name;
            text += names.size() > 1 ? "," : "";
            text += Space() + Key(name) + Space() + ':' + Space() + Value(depth) + Space();
        }
        return text + '}';
    }

    QByteArray Damage(QByteArray text)
    {
        static constexpr char kOdd[] = "{}[]:,\"\\/u0aAn1eE+-. \n\t\0\x01\x80\xc3\xa4\xff";
        const char odd = kOdd[Below(sizeof kOdd - 1)];
        const int at = Below(text.size());
        return Below(2) ? text.replace(at, Below(2), &odd, 1) : text.remove(at, 1);
    }

private:
    QByteArray Space() { return QByteArray(std::vector<const char*>{"", "", " ", "\r\n\t"}[m_random() % 4]); }

    /// Returns one spelling of the key with this number.
    QByteArray Key(int name)
    {
        const std::vector<std::vector<const char*>> spellings = {
            {"a", "\\u0061", "\\a"},  {"\xc3\xa4", "\\u00e4", "\\u00E4"},
            {"\n", "\\n", "\\u000a"}, {"\xf0\x9f\x98\x80", "\\ud83d\\uDE00"},
            {"\\\\", "\\u005c"},      {"\xef\xbb\xbf", "\\ufeff"},
            {"{,:", "\\u007b,:"}};
        QByteArray key = "\"";
        do {
            const auto& same = spellings[static_cast<std::size_t>(name) % spellings.size()];
            key += same[m_random() % same.size()];
            name /= static_cast<int>(spellings.size());
        } while (name > 0);
        return key + '"';
    }

    QByteArray Value(int depth)
    {
        static constexpr const char* kSimple[] = {"true", "null", "-1.5e3", "\"x,\\\"]\"", "{}", "[]"};
        switch (depth > 0 ? Below(4) : 2) {
        case 0:
            return Object(depth - 1);
        case 1:
            return "[" + Value(depth - 1) + "," + Space() + Value(depth - 1) + "]";
        default:
            return kSimple[Below(6)];
        }
    }

    std::mt19937 m_random;
    bool m_hasRepeatedKey = false;
};

} // namespace

TEST(JsonReaderTest, RandomTextsAreReadAsFromJsonReadsThemUnlessAKeyIsRepeated)
{
    int refused = 0;
    for (std::uint32_t i = 0; i < 1500; ++i) {
        CGenerator generator(i);
        const QByteArray text = generator.Object(3);
        if (generator.HasRepeatedKey()) {
            EXPECT_THAT(ReasonFor(text), HasSubstr("duplicate key")) << text.constData();
            ++refused;
            continue;
        }
        ASSERT_EQ(ReasonFor(text), "") << text.constData();
        EXPECT_EQ(ReadJson(text), QJsonDocument::fromJson(text)) << text.constData();
        for (int damage = 0; damage < 10; ++damage) {
            const QByteArray damaged = generator.Damage(text);
            const QJsonDocument document = ReadJson(damaged);
            // fromJson retains one of the members with the same key.
            if (!document.isNull()) {
                EXPECT_EQ(CountMembers(document.object()), CountColons(damaged)) << damaged.constData();
            }
        }
    }
    EXPECT_GT(refused, 150);
}

TEST(JsonReaderTest, AKeyIsRecognisedInEverySpelling)
{
    const std::pair<QByteArray, QByteArray> same[] = {
        {"", ""},
        {"a", "a"},
        {"a", "\\u0061"},
        {"a", "\\a"},
        {"/", "\\/"},
        {"\\\"", "\\u0022"},
        {"\\b\\f\\n\\r\\t", "\\u0008\\u000C\\u000a\\u000D\\u0009"},
        {"\\u0000", "\\u0000"},
        {"\xc3\xa4", "\\u00e4"},
        {"\xf0\x9f\x98\x80", "\\ud83d\\ude00"},
        {"\xef\xbf\xbf", "\\uffff"},
        {"\xef\xbb\xbf"
         "a",
         "\\ufeffa"},
        {"x\n\xef\xbb\xbf", "x\\n\xef\xbb\xbf"},
        {"\xef\xbf\xbd", "\\ud800"}, // fromJson replaces a lone surrogate by this
    };
    const std::pair<QByteArray, QByteArray> different[] = {
        {"", "\\u0000"},
        {"a", "A"},
        {"a", "aa"},
        {"\\u0000a", "\\u0000b"},
        {"\\u0061", "b"},
        {"\xef\xbb\xbf"
         "a",
         "a"},
        {"12345678a12345678", "12345678b12345678"},
    };

    for (const auto& [key, other] : same) {
        EXPECT_THAT(ReasonFor(TwoMembers(key, other)), HasSubstr("duplicate key")) << key.constData();
        EXPECT_THAT(ReasonFor(TwoMembers(other, key)), HasSubstr("duplicate key")) << key.constData();
    }
    for (const auto& [key, other] : different)
        EXPECT_EQ(ReadJson(TwoMembers(key, other)).object().size(), 2) << key.constData();
    // fromJson takes these for the same key, and a byte behind a backslash for what its platform makes of it.
    EXPECT_EQ(ReasonFor(TwoMembers(QByteArray("x\0a", 3), QByteArray("x\0b", 3))), "null character in a key");
    EXPECT_NE(ReasonFor(TwoMembers("\\\xc3\xa4", "a")), "");
}

TEST(JsonReaderTest, ARepeatedKeyIsFoundBeforeFromJsonLeaksItsValue)
{
    QByteArray datagram = "{";
    while (datagram.size() < 56000)
        datagram += "\"key\": [\"text\"], ";

    for (const QByteArray& text : {datagram + "\"key\": 1}", QByteArray(R"([{"key": [1], "key": [2]}, nonsense])"),
                                   QByteArray(R"({"open": {"key": [1], "other": {}, "key": [2]})")})
        EXPECT_EQ(ReasonFor(text), "duplicate key \"key\"") << text.left(60).constData();
}

TEST(JsonReaderTest, TextsMayBeNestedAtMostSixtyFourLevelsDeep)
{
    using Forms = std::vector<std::pair<QByteArray, QByteArray>>;
    const auto nested = [](const Forms& forms, int depth) {
        QByteArray text = "{}";
        for (int level = 1; level < depth; ++level) {
            const auto& [before, after] = forms[static_cast<std::size_t>(level) % forms.size()];
            text = before + text + after;
        }
        return text;
    };

    for (const Forms& forms : {Forms{{"[", "]"}}, Forms{{"{\"a\":", "}"}},
                               Forms{{"[[], {}, \"[{\\\"[\", ", "]"}, {"{\"[[\": \n", ", \"b\": []}"}}}) {
        EXPECT_EQ(ReasonFor(nested(forms, 64)), "");
        EXPECT_EQ(ReasonFor(nested(forms, 65)), "nested deeper than 64 levels");
    }
    EXPECT_EQ(ReasonFor(QByteArray(2000000, '[')), "nested deeper than 64 levels");
}

TEST(JsonReaderTest, ATextThatEndsEarlyIsMalformedAndNotReadBeyondItsEnd)
{
    const QByteArray text = R"( {"key": ["\u00e4\"", -1.5, {}], "\u006Bey2" : {"a\\": "long enough text", "b": null}})";
    ASSERT_EQ(ReasonFor(text), "");

    for (int size = 0; size < text.size(); ++size) {
        // On the heap, so that AddressSanitizer knows the end.
        const std::vector<char> start(text.begin(), text.begin() + size);
        EXPECT_NE(ReasonFor(QByteArray::fromRawData(start.data(), size)), "") << size;
    }
}

TEST(JsonReaderTest, TheFirstErrorIsReportedWithItsPosition)
{
    SJsonError error;
    ReadJson("{\"a\": 1,\n \"\\u0061\": 2}", &error);
    EXPECT_EQ(error.offset, 10);
    EXPECT_EQ(error.reason, "duplicate key \"a\"");
    ReadJson('{' + QByteArray(100, ' ') + "\"a\":" + QByteArray(64, '['), &error);
    EXPECT_EQ(error.offset, 1 + 100 + 4 + 63);

    // A quote is missing: the text after it looks like a repeated key.
    for (const char* text : {R"({"a": "b "c", "a": 1, "a": 2})", R"({"a", "a"})"})
        EXPECT_THAT(ReasonFor(text), Not(HasSubstr("duplicate"))) << text;
}

TEST(JsonReaderTest, TheTimeForManyKeysIsProportionalToSortingThem)
{
    constexpr int kKeys = 100000;
    constexpr std::int64_t kComparisonsPerKey = 51; // three times the logarithm
    std::mt19937 random(1);
    for (const char* start : {"", "equal at both ends "}) {
        std::vector<QByteArray> keys;
        keys.reserve(kKeys);
        for (int i = 0; i < kKeys; ++i)
            keys.push_back(start + QByteArray::number(kKeys + i) + (*start == 'e' ? " and no less equal" : ""));
        std::shuffle(keys.begin(), keys.end(), random);
        QByteArray text = "{";
        for (const QByteArray& key : keys)
            text += '"' + key + "\":{\"a\":1,\"b\":2},";
        text.back() = '}';

        CJsonScan scan(text);
        EXPECT_TRUE(scan.Run());
        EXPECT_LT(scan.Comparisons(), kKeys * kComparisonsPerKey);
    }
}
