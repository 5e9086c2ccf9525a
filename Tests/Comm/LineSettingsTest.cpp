#include "Comm/LineSettings.h"

#include <gtest/gtest.h>

namespace {

using Base = asio::serial_port_base;

/// Returns the settings as numbers, or the reason why the text is invalid.
std::string Read(const char* text)
{
    std::string reason;
    const auto settings = ReadLineSettings(text, reason);
    if (!settings)
        return reason;
    return std::to_string(settings->baudRate) + ' ' + std::to_string(settings->dataBits) + " parity " +
           std::to_string(settings->parity) + " stop " + std::to_string(settings->stopBits) + " flow " +
           std::to_string(settings->flowControl);
}

} // namespace

TEST(LineSettingsTest, EachValueIsReadFromItsPositionAndTheOmittedOnesHaveDefaults)
{
    const auto is = [](const char* text, int baud, int bits, Base::parity::type parity, Base::stop_bits::type stop,
                       Base::flow_control::type flow) {
        EXPECT_EQ(Read(text), std::to_string(baud) + ' ' + std::to_string(bits) + " parity " + std::to_string(parity) +
                                  " stop " + std::to_string(stop) + " flow " + std::to_string(flow));
    };
    is("", 9600, 8, Base::parity::none, Base::stop_bits::one, Base::flow_control::none);
    is("1", 1, 8, Base::parity::none, Base::stop_bits::one, Base::flow_control::none);
    is("1,5", 1, 5, Base::parity::none, Base::stop_bits::one, Base::flow_control::none);
    is(" 19200, 6 ,e", 19200, 6, Base::parity::even, Base::stop_bits::one, Base::flow_control::none);
    is("9600,7,O,1.5", 9600, 7, Base::parity::odd, Base::stop_bits::onepointfive, Base::flow_control::none);
    is("9600,8,N,2,Hardware", 9600, 8, Base::parity::none, Base::stop_bits::two, Base::flow_control::hardware);
    is("9600,8,N,1,software", 9600, 8, Base::parity::none, Base::stop_bits::one, Base::flow_control::software);
}

TEST(LineSettingsTest, AnInvalidValueIsReportedWithThePermittedOnes)
{
    for (const char* text : {"fast", "0", "-1", ","})
        EXPECT_EQ(Read(text).find("the baud rate must be a number such as 9600, not \""), 0U) << text;
    EXPECT_EQ(Read("9600,9"), "the number of data bits must be one of 5, 6, 7, 8, not \"9\"");
    EXPECT_EQ(Read("9600,,N"), "the number of data bits must be one of 5, 6, 7, 8, not \"\"");
    EXPECT_EQ(Read("9600,8,X"), "the parity must be one of N, O, E, not \"X\"");
    EXPECT_EQ(Read("9600,8,N,3"), "the number of stop bits must be one of 1, 1.5, 2, not \"3\"");
    EXPECT_EQ(Read("9600,8,N,1,RTS"), "the flow control must be one of none, hardware, software, not \"RTS\"");
    EXPECT_EQ(Read("9600,8,N,1,none,1"), "expected at most five values separated by commas");
}
