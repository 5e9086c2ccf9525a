#include "FuzzHost.h"

// Requests of the FP controller; a flag of 1 adds the reply bit.
void FuzzInput(std::string_view input)
{
    FuzzHost::ForEachRequest(input, [](const FuzzHost::SRequest& request) {
        FuzzHost::SendEnvelope(FuzzHost::EChannel::FP, request.code | (request.flags & 1 ? 0x10000000U : 0U),
                               request.body);
    });
}
