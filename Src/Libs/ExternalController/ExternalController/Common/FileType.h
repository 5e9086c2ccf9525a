#pragma once

#include "ExternalController/Common/ResourceType.h"
#include "ExternalController/Common/Vocabulary.h"

/// The type of resource that a file would be, by its name alone; -1 for one that is none.
inline int GetFileResType(const QString& fileName)
{
    struct SFileType {
        const QString& filter;
        int type;
    };
    // The first that fits decides.
    static const SFileType kFileTypes[] = {
        {VideoFileFilter, ResourceType::Video},       {AudioFileFilter, ResourceType::Audio},
        {ImageFileFilter, ResourceType::Picture},     {PptFileFilter, ResourceType::Presentation},
        {ExcelFileFilter, ResourceType::Spreadsheet}, {WordFileFilter, ResourceType::Word},
        {PdfFileFilter, ResourceType::Pdf},
    };
    const QString suffix = fileName.mid(fileName.lastIndexOf('.') + 1).toLower();
    for (const SFileType& fileType : kFileTypes) {
        // A part of a suffix is enough: apps rely on what has always been listed.
        if (fileType.filter.contains(suffix))
            return fileType.type;
    }
    return -1;
}
