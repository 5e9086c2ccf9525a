#include "FuzzHost.h"

#include "ShowRemote/Recording/Capture.h"
#include "ShowRemote/Recording/Difference.h"

// The text of a recording.
void FuzzInput(std::string_view input)
{
    try {
        const SRecording recording =
            ParseRecording(QByteArray(input.data(), static_cast<int>(input.size())), QStringLiteral("input"));
        for (const SRecordedLine& line : recording.lines)
            FuzzHost::Require(DifferencesOf(line.payload, line.payload, {true, {}}).isEmpty(),
                              "a message does not differ from itself");
        MakeCapture(recording);
    } catch (const CBadRecording&) {
    }
}
