#include "Support/SenderTest.h"

#include "ExternalController/Common/Command.h"

#include <QJsonDocument>

#include <cstdlib>
#include <ostream>

void PrintTo(Recipient recipient, std::ostream* out)
{
    constexpr const char* kNames[] = {"app", "FP", "central control", "other"};
    *out << kNames[static_cast<int>(recipient)];
}

testing::Matcher<const std::vector<SChannelCall>&> Answers(const Recipients& recipients, int code,
                                                           const QJsonObject& reply)
{
    std::vector<CallMatcher> calls;
    for (const Recipient recipient : recipients) {
        calls.push_back(recipient == Recipient::App ? Sent(Command::ReplyTo(code), reply)
                        : recipient == Recipient::FP
                            ? SentToFP(static_cast<unsigned int>(code), reply)
                            : SentToCentral(QJsonDocument(reply).toJson().toStdString(), "10.0.0.9", 4000));
    }
    return testing::ElementsAreArray(calls);
}

Recipients RecipientsOf(const std::vector<SChannelCall>& calls)
{
    Recipients recipients;
    for (const SChannelCall& call : calls) {
        recipients.push_back(call.name == "App.SendPackage"    ? Recipient::App
                             : call.name == "FP.SendPackage"   ? Recipient::FP
                             : call.name == "Central.SendData" ? Recipient::CentralControl
                                                               : Recipient::Other);
    }
    return recipients;
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

double Difference(const QImage& picture, const QImage& other)
{
    if (picture.size() != other.size() || picture.isNull())
        return 255;
    const QImage first = picture.convertToFormat(QImage::Format_RGBA8888);
    const QImage second = other.convertToFormat(QImage::Format_RGBA8888);
    double sum = 0;
    for (int i = 0; i < first.sizeInBytes(); ++i)
        sum += std::abs(first.constBits()[i] - second.constBits()[i]);
    return sum / static_cast<double>(first.sizeInBytes());
}
