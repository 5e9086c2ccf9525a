#include "Comm/LineSettings.h"

#include <QString>
#include <QStringList>

#include <cstddef>

namespace {

using Base = asio::serial_port_base;

constexpr int kMaxParts = 5;

template <class Value>
struct SWord {
    const char* word;
    Value value;
};

constexpr SWord<unsigned int> kDataBits[] = {{"5", 5}, {"6", 6}, {"7", 7}, {"8", 8}};
constexpr SWord<Base::parity::type> kParities[] = {
    {"N", Base::parity::none}, {"O", Base::parity::odd}, {"E", Base::parity::even}};
constexpr SWord<Base::stop_bits::type> kStopBits[] = {
    {"1", Base::stop_bits::one}, {"1.5", Base::stop_bits::onepointfive}, {"2", Base::stop_bits::two}};
constexpr SWord<Base::flow_control::type> kFlowControls[] = {{"none", Base::flow_control::none},
                                                             {"hardware", Base::flow_control::hardware},
                                                             {"software", Base::flow_control::software}};

template <class Value, std::size_t Count>
bool ReadWord(const QString& text, const SWord<Value> (&words)[Count], const char* what, Value& value,
              std::string& reason)
{
    QStringList known;
    for (const auto& [word, meaning] : words) {
        if (text.compare(QLatin1String(word), Qt::CaseInsensitive) == 0) {
            value = meaning;
            return true;
        }
        known.append(QLatin1String(word));
    }
    reason = QStringLiteral("the %1 must be one of %2, not \"%3\"")
                 .arg(QLatin1String(what), known.join(QStringLiteral(", ")), text)
                 .toStdString();
    return false;
}

bool ReadBaudRate(const QString& text, unsigned int& rate, std::string& reason)
{
    bool isNumber = false;
    rate = text.toUInt(&isNumber);
    if (isNumber && rate > 0)
        return true;
    reason = QStringLiteral("the baud rate must be a number such as 9600, not \"%1\"").arg(text).toStdString();
    return false;
}

template <class Option>
void Set(asio::serial_port& port, const Option& option, const char* what, std::string& fault)
{
    asio::error_code error;
    if (fault.empty())
        port.set_option(option, error);
    if (error)
        fault = std::string(what) + ": " + error.message();
}

} // namespace

std::optional<SLineSettings> ReadLineSettings(const std::string& text, std::string& reason)
{
    SLineSettings settings;
    if (text.empty())
        return settings;
    const QStringList parts = QString::fromStdString(text).split(QLatin1Char(','));
    const auto has = [&](int index) { return index < parts.size(); };
    const auto part = [&](int index) { return parts[index].trimmed(); };
    const bool valid = ReadBaudRate(part(0), settings.baudRate, reason) &&
                       (!has(1) || ReadWord(part(1), kDataBits, "number of data bits", settings.dataBits, reason)) &&
                       (!has(2) || ReadWord(part(2), kParities, "parity", settings.parity, reason)) &&
                       (!has(3) || ReadWord(part(3), kStopBits, "number of stop bits", settings.stopBits, reason)) &&
                       (!has(4) || ReadWord(part(4), kFlowControls, "flow control", settings.flowControl, reason));
    if (!valid)
        return std::nullopt;
    if (has(kMaxParts)) {
        reason = "expected at most five values separated by commas";
        return std::nullopt;
    }
    return settings;
}

std::string ApplyLineSettings(const SLineSettings& settings, asio::serial_port& port)
{
    std::string fault;
    Set(port, Base::baud_rate(settings.baudRate), "baud rate", fault);
    Set(port, Base::character_size(settings.dataBits), "data bits", fault);
    Set(port, Base::parity(settings.parity), "parity", fault);
    Set(port, Base::stop_bits(settings.stopBits), "stop bits", fault);
    Set(port, Base::flow_control(settings.flowControl), "flow control", fault);
    return fault;
}
