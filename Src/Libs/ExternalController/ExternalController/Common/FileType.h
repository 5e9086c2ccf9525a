#pragma once

#include "ExternalController/Common/ResourceType.h"
#include "ExternalController/Common/Vocabulary.h"

/// Returns the ResourceType of a file, determined from its name only, or -1 if the file can't be a resource.
inline int GetFileResType(const QString& fileName)
{
    struct SFileType {
        const QString& filter;
        int type;
    };
    // The first match is returned.
    static const SFileType kFileTypes[] = {
        {VideoFileFilter, ResourceType::Video},       {AudioFileFilter, ResourceType::Audio},
        {ImageFileFilter, ResourceType::Picture},     {PptFileFilter, ResourceType::Presentation},
        {ExcelFileFilter, ResourceType::Spreadsheet}, {WordFileFilter, ResourceType::Word},
        {PdfFileFilter, ResourceType::Pdf},
    };
    const QString suffix = fileName.mid(fileName.lastIndexOf('.') + 1).toLower();
    for (const SFileType& fileType : kFileTypes) {
        // A part of a listed suffix also matches, such as "mp": apps rely on these files being listed.
        if (fileType.filter.contains(suffix))
            return fileType.type;
    }
    return -1;
}
