#include "FuzzHost.h"

#include "Support/RecordingChannels.h"

// Requests of the app, including their handling by the senders and the host.
void FuzzInput(std::string_view input)
{
    enum Flag : unsigned {
        Bulk = 1,
        ReplyBit = 2,
        Close = 4,  ///< instead of a request
        LogIn = 8,  ///< before the request
        Upload = 16 ///< instead of a request: the body is the name of an uploaded file
    };
    FuzzHost::ForEachRequest(input, [](const FuzzHost::SRequest& request) {
        if (request.flags & Close)
            return FuzzHost::CloseApp();
        if (request.flags & Upload)
            return RecordingChannels::Callbacks().uploadEnd(request.body);
        if (request.flags & LogIn)
            FuzzHost::LogIn();
        FuzzHost::SendEnvelope(request.flags & Bulk ? FuzzHost::EChannel::AppBulk : FuzzHost::EChannel::AppControl,
                               request.code | (request.flags & ReplyBit ? 0x10000000U : 0U), request.body);
    });
}
