#include "FuzzHost.h"

#include "Comm/FrameReader.h"

// Data on an app's connection: the first byte is the size of the pieces, the rest is the stream.
void FuzzInput(std::string_view input)
{
    if (input.empty())
        return;
    const std::size_t pieceBytes = static_cast<unsigned char>(input[0]) + 1U;
    input.remove_prefix(1);
    const std::string_view stream = input;

    CFrameReader reader;
    std::size_t framedBytes = 0;
    const auto take = [&](std::string_view frame) {
        FuzzHost::Require(frame == stream.substr(framedBytes, frame.size()),
                          "envelopes are the stream's bytes in order");
        framedBytes += frame.size();
        FuzzHost::SendBytes(FuzzHost::EChannel::AppControl, std::string(frame));
        return true;
    };
    auto result = CFrameReader::Result::Ok;
    while (!input.empty() && result == CFrameReader::Result::Ok) {
        const std::string_view piece = input.substr(0, pieceBytes);
        result = reader.Feed(piece, take);
        input.remove_prefix(piece.size());
    }
    if (result == CFrameReader::Result::Ok)
        FuzzHost::Require(reader.IsInsideFrame() == (framedBytes < stream.size()), "the rest of the stream is pending");
}
