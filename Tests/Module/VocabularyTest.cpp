#include "ExternalController/Common/Vocabulary.h"

#include <gtest/gtest.h>

TEST(VocabularyTest, TheListsAreOneInAnother)
{
    EXPECT_EQ(OfficeSuffixList.join(' '), "ppt pptx xlsx xls xlm xla xlt xll pdf doc docx");
    EXPECT_EQ(AllSuffixList, VideoSuffixList + AudioSuffixList + PictureSuffixList + OfficeSuffixList);
    EXPECT_EQ(AllSuffixList.size(), 46);
    EXPECT_TRUE(TextSuffixList.isEmpty());
}
