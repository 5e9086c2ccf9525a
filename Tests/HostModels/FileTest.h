#pragma once

#include "HostModels/Files/JsonFile.h"

#include <QFile>
#include <QTemporaryDir>

#include <gmock/gmock.h>

#include <algorithm>

/// A folder with a file, and the error of reading it.
class CFileTest : public testing::Test {
protected:
    QString Write(const QByteArray& text)
    {
        QString path = m_folder.filePath("file.json");
        QFile file(path);
        EXPECT_TRUE(file.open(QIODevice::WriteOnly));
        file.write(text);
        return path;
    }

    /// Returns the error without the file's name, which every error starts with.
    template <class Read>
    std::string Complaint(Read read, const QByteArray& text)
    {
        const QString path = Write(text);
        try {
            read(path);
        } catch (const CFileError& error) {
            const std::string complaint = error.what();
            EXPECT_EQ(complaint.find(path.toStdString() + ": "), 0u) << complaint;
            return complaint.substr(std::min(complaint.size(), path.toStdString().size() + 2));
        }
        return "none";
    }

    QTemporaryDir m_folder;
};
