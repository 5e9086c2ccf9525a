#include "ExternalController/Common/Vocabulary.h"

#include <gtest/gtest.h>

TEST(VocabularyTest, CentralControlAndTheCloudDifferInWordsAndMeanings)
{
    EXPECT_EQ(CenterControlCmdMap.size(), 53u);
    EXPECT_EQ(CloudControlCmdMap.size(), 13u);
    EXPECT_EQ(CenterControlCmdMap.at("globalBrightness"), 275);
    EXPECT_EQ(CloudControlCmdMap.at("globleBrightness"), 275);
    EXPECT_EQ(CenterControlCmdMap.count("globleBrightness"), 0u);
    EXPECT_EQ(CloudControlCmdMap.count("globalBrightness"), 0u);
    for (const char* keyword : {"muteWnd", "unmuteWnd"}) {
        EXPECT_EQ(CenterControlCmdMap.at(keyword), 0) << keyword;
        EXPECT_EQ(CloudControlCmdMap.at(keyword), 529) << keyword;
    }
}

TEST(VocabularyTest, TheListsAreOneInAnother)
{
    EXPECT_EQ(OfficeSuffixList.join(' '), "ppt pptx xlsx xls xlm xla xlt xll pdf doc docx");
    EXPECT_EQ(AllSuffixList, VideoSuffixList + AudioSuffixList + PictureSuffixList + OfficeSuffixList);
    EXPECT_EQ(AllSuffixList.size(), 46);
    EXPECT_TRUE(TextSuffixList.isEmpty());
}
