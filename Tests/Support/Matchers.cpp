#include "Support/Matchers.h"

#include <QJsonDocument>

#include <ostream>

using testing::AllOf;
using testing::Field;
using testing::IsEmpty;
using testing::Truly;

namespace {

CAppDataPack Unpack(const Comm::RequestPackage& package)
{
    return CAppDataPack(QByteArray::fromStdString(package.data));
}

CallMatcher Named(const std::string& name)
{
    return Field("name", &SChannelCall::name, name);
}

CallMatcher ToConnectedApp()
{
    return AllOf(Named("App.SendPackage"), Field("ip", &SChannelCall::ip, IsEmpty()),
                 Field("port", &SChannelCall::port, AppServer::kConnectedApp));
}

CallMatcher ToApp(const std::string& ip, int port)
{
    return AllOf(Named("App.SendPackage"), Field("ip", &SChannelCall::ip, ip), Field("port", &SChannelCall::port, port),
                 Field("number", &SChannelCall::number, int{AppServer::Control}));
}

CallMatcher Carries(unsigned int code, const QByteArray& body)
{
    const std::string bytes = CAppDataPack(code, body).GetData().toStdString();
    return Truly([bytes](const SChannelCall& call) {
        return call.package && call.package->data == bytes && call.package->length == bytes.size();
    });
}

} // namespace

void PrintTo(const QJsonObject& json, std::ostream* out)
{
    *out << QJsonDocument(json).toJson(QJsonDocument::Compact).toStdString();
}

void PrintTo(const SChannelCall& call, std::ostream* out)
{
    *out << call.name << " to \"" << call.ip << "\":" << call.port << ", number " << call.number;
    if (!call.text.empty())
        *out << ", text " << testing::PrintToString(call.text);
    if (call.package) {
        const CAppDataPack pack = Unpack(*call.package);
        QJsonObject json;
        pack.ReadJsonFromData(json);
        *out << ", code 0x" << std::hex << pack.GetCmdCode() << std::dec << ' ';
        PrintTo(json, out);
        *out << ", " << call.package->data.size() << " bytes";
    }
}

void PrintTo(const SResultData& result, std::ostream* out)
{
    *out << "sender " << result.nSenderType << ", code " << result.nCmdCode << ", hasData " << result.hasData
         << ", sources " << result.nSourceFlags << ", body ";
    PrintTo(result.jsonBody, out);
}

CallMatcher Sent(unsigned int code, const QJsonObject& json, int channel)
{
    return AllOf(ToConnectedApp(), Field("number", &SChannelCall::number, channel),
                 Carries(code, QJsonDocument(json).toJson()));
}

CallMatcher SentCode(unsigned int code)
{
    const auto hasCode = [code](const SChannelCall& call) {
        return call.package && Unpack(*call.package).GetCmdCode() == code;
    };
    return AllOf(ToConnectedApp(), Truly(hasCode));
}

CallMatcher SentTo(const std::string& ip, int port, unsigned int code, const QJsonObject& json)
{
    return AllOf(ToApp(ip, port), Carries(code, QJsonDocument(json).toJson()));
}

CallMatcher SentEmptyTo(const std::string& ip, int port, unsigned int code)
{
    return AllOf(ToApp(ip, port), Carries(code, QByteArray()));
}

CallMatcher SentToFP(unsigned int code, const QJsonObject& json)
{
    return AllOf(Named("FP.SendPackage"), Carries(code, QJsonDocument(json).toJson()));
}

CallMatcher SentToCentral(const std::string& text, const std::string& ip, int port)
{
    return AllOf(Named("Central.SendData"), Field("text", &SChannelCall::text, text),
                 Field("ip", &SChannelCall::ip, ip), Field("port", &SChannelCall::port, port));
}

CallMatcher SentToCloud(int route, const std::string& text)
{
    return AllOf(Named("Cloud.SendData"), Field("text", &SChannelCall::text, text),
                 Field("number", &SChannelCall::number, route));
}

testing::Matcher<const SResultData&> Report(const SResultData& expected)
{
    return AllOf(Field("nSenderType", &SResultData::nSenderType, expected.nSenderType),
                 Field("nCmdCode", &SResultData::nCmdCode, expected.nCmdCode),
                 Field("hasData", &SResultData::hasData, expected.hasData),
                 Field("jsonBody", &SResultData::jsonBody, expected.jsonBody),
                 Field("nSourceFlags", &SResultData::nSourceFlags, expected.nSourceFlags));
}
