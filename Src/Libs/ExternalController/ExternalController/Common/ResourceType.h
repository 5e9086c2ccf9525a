#pragma once

/// The host's numbers for the types of resources.
namespace ResourceType {
enum Type : int {
    Video = 0,
    Audio = 1,
    Picture = 2,
    Folder = 3,
    Group = 4,
    WebPage = 5,
    CaptureCard = 6,
    CaptureCardAudio = 7,
    Presentation = 8,
    Stream = 9,
    Text = 10,
    Ndi = 11,
    TestChart = 12,
    Weather = 13,
    Timer = 14,
    Spreadsheet = 15,
    DesktopCopy = 16,
    Clock = 17,
    Calendar = 18,
    Table = 19,
    Database = 20,
    Environment = 21,
    Subtitle = 22,
    Pdf = 23,
    Word = 24,
    Lottery = 25,
    Teleprompter = 26,
    ScrollingGroup = 27,
    Last = ScrollingGroup,
};
} // namespace ResourceType
