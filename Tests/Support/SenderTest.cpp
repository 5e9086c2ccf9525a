#include "Support/SenderTest.h"

#include <QJsonDocument>

testing::Matcher<const std::vector<SChannelCall>&> Answers(const std::string& whom, int code, const QJsonObject& reply)
{
    std::vector<CallMatcher> calls;
    for (const char one : whom) {
        calls.push_back(one == 'A'   ? Sent(static_cast<unsigned int>(code) | 0x10000000, reply)
                        : one == 'F' ? SentToFP(static_cast<unsigned int>(code), reply)
                                     : SentToCentral(QJsonDocument(reply).toJson().toStdString(), "10.0.0.9", 4000));
    }
    return testing::ElementsAreArray(calls);
}

std::string Whom(const std::vector<SChannelCall>& calls)
{
    std::string whom;
    for (const SChannelCall& call : calls)
        whom += call.name == "Cloud.SendData" ? '?' : call.name[0];
    return whom;
}

QJsonObject BodyOf(const SChannelCall& call)
{
    QJsonObject body;
    if (call.package)
        CAppDataPack(QByteArray::fromStdString(call.package->data)).ReadJsonFromData(body);
    return body;
}

QJsonObject Of(const QJsonObject& object, const QStringList& keys)
{
    QJsonObject picked;
    for (const QString& key : keys) {
        if (object.contains(key))
            picked[key] = object[key];
    }
    return picked;
}

QByteArray PictureIn(const std::vector<SChannelCall>& calls, unsigned int code, const QUuid& id)
{
    if (calls.size() != 1 || !testing::Value(calls[0], SentCode(code)) || calls[0].number != AppServer::Bulk)
        return {};
    const auto envelope = [&](const QByteArray& picture) {
        return CAppDataPack(code, CAppDataPack(id, picture).GetData()).GetData();
    };
    const QByteArray sent = QByteArray::fromStdString(calls[0].package->data);
    const QByteArray picture = sent.mid(envelope({}).size());
    return sent == envelope(picture) ? picture : QByteArray();
}
