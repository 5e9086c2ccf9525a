#pragma once

#include <QString>
#include <QStringList>

#include <map>
#include <string>

// The texts of the protocol and of the logs, and the numbers that stand for them: results, sources and levels, and the
// file types. Their spelling is fixed by the protocol, including the unusual ones. The keywords are in Keywords.h.

/// Keys of ResultTextMap: the values of "result" in the reply to a command.
namespace ResultText {
enum Index : int {
    Success = 0,
    Fail = 1,
    OutOfRange = 2,
    RowOrColumn = 3,
    NoClip = 4,
    NoPresentation = 5,
    Format = 6,
    UnknownCommand = 7,
    Parameter = 8,
    HdrOff = 9,
    End = 10,
};
} // namespace ResultText

inline const std::map<int, std::string> ResultTextMap = {
    {ResultText::Success, "SUCCESS"},
    {ResultText::Fail, "FAIL"},
    {ResultText::OutOfRange, "ERROR: out of range"},
    {ResultText::RowOrColumn, "row or col error"},
    {ResultText::NoClip, "no clip on this position"},
    {ResultText::NoPresentation, "not a ppt"},
    {ResultText::Format, "FORMAT ERROR"},
    {ResultText::UnknownCommand, "COMMAND ERROR"},
    {ResultText::Parameter, "PARAMETER ERROR"},
    {ResultText::HdrOff, "ERROR: HDR not on"},
    {ResultText::End, ""},
};

/// The values of "result" in the reply to an app's login.
namespace LoginResult {
enum Code : int {
    Success = 0,
    UnknownUser = 1,
    WrongPassword = 2,
    AnotherAppLoggedIn = 3,
};
} // namespace LoginResult

/// The numbers in the host's logs for the source of an operation.
namespace ControlSource {
enum Index : int {
    PC = 0,
    App = 1,
    FP = 2,
    CentralControl = 3,
    CloudControl = 4,
};
} // namespace ControlSource

inline const std::map<int, std::string> ControlSourceNameMap = {
    {ControlSource::PC, "PC"},
    {ControlSource::App, "APP"},
    {ControlSource::FP, "FP"},
    {ControlSource::CentralControl, "CenterControl"},
    {ControlSource::CloudControl, "CloudControl"},
};

inline const std::map<int, std::string> LogLevelNameMap = {
    {0, "Trace"}, {1, "Debug"}, {2, "Info"}, {3, "Warn"}, {4, "Error"}, {5, "Unknow"},
};

/// The line format of the show log.
inline const std::string kLogPattern = "%d{%Y-%m-%d %H:%M:%S}[%c][%p][%t][%a][%b] %v%T%n";

/// The field names of the host's log records.
namespace LogField {
inline const std::string AppName = "AppName";
inline const std::string IP = "IP";
inline const std::string Port = "Port";
inline const std::string FileName = "FileName";
inline const std::string FilePath = "FilePath";
inline const std::string FileType = "FileType";
inline const std::string FileDuration = "FileDuration";
inline const std::string StartTime = "StartTime";
inline const std::string EndTime = "EndTime";
inline const std::string PlayDuration = "PlayDuration";
inline const std::string OpTime = "OpTime";
inline const std::string Context = "Context";
inline const std::string Module = "Module";
inline const std::string Function = "Function";
inline const std::string Level = "Level";
inline const std::string Controller = "Controller";
} // namespace LogField

inline const std::map<int, std::string> EditionNameMap = {
    {0, "ZentravoxXB"},
    {1, "ZentravoxXC"},
    {2, "ZentravoxXD"},
    {3, "Other"},
};

/// The name of this edition and its password. An app without a user account logs in with these.
inline const QString kEditionName = QStringLiteral("ZentravoxXA");
inline const QString kLoginPassword = QStringLiteral("Harbovline");

/// The datagram with which an app discovers hosts. Any other datagram is ignored.
constexpr char kDiscoveryRequest[] = "App Server request Zentravox Controller";

inline const QString kResourceItemName = QStringLiteral("ResourceItem");
inline const QString kUriListMimeType = QStringLiteral("text/uri-list"); ///< RFC 2483
inline const QString kCloudScheme = QStringLiteral("wss");               ///< RFC 6455
/// %1 is replaced by the user name, %2 by the password.
inline const QString kCloudPath = QStringLiteral("/VexorWebSocket/websocket/chat?username=%1&password=%2");

// File types: suffixes in lower case, without the dot.
inline const QStringList VideoSuffixList = {"mp4", "3gp", "m2t",  "m2ts", "bhd", "asx", "mpe", "vcd",  "dvd",
                                            "dat", "m4v", "webm", "rmvb", "rm",  "wmv", "asf", "mpeg", "mpg",
                                            "ts",  "tp",  "mov",  "flv",  "avi", "mkv", "vob"};
inline const QStringList AudioSuffixList = {"m4a", "mp3", "wav"};
inline const QStringList PictureSuffixList = {"bmp", "png", "jpg", "tiff", "tga", "webp", "jpeg"};
inline const QStringList PptSuffixList = {"ppt", "pptx"};
inline const QStringList ExcelSuffixList = {"xlsx", "xls", "xlm", "xla", "xlt", "xll"};
inline const QStringList PdfSuffixList = {"pdf"};
inline const QStringList WordSuffixList = {"doc", "docx"};
inline const QStringList OfficeSuffixList = PptSuffixList + ExcelSuffixList + PdfSuffixList + WordSuffixList;
inline const QStringList TextSuffixList;
inline const QStringList AllSuffixList = VideoSuffixList + AudioSuffixList + PictureSuffixList + OfficeSuffixList;

/// Returns a filter for a file dialog, such as "*.mp4 *.3gp".
inline QString FileFilter(const QStringList& suffixes)
{
    return QStringLiteral("*.") + suffixes.join(QStringLiteral(" *."));
}

inline const QString VideoFileFilter = FileFilter(VideoSuffixList);
inline const QString AudioFileFilter = FileFilter(AudioSuffixList);
inline const QString PictureFileFilter = FileFilter(PictureSuffixList);
inline const QString ImageFileFilter = FileFilter(PictureSuffixList + QStringList{"gif"});
inline const QString PptFileFilter = FileFilter(PptSuffixList);
inline const QString ExcelFileFilter = FileFilter(ExcelSuffixList);
inline const QString PdfFileFilter = FileFilter(PdfSuffixList);
inline const QString WordFileFilter = FileFilter(WordSuffixList);
