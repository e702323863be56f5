#include "std/Std_Output_File.h"

#include "tests/Scratch_Folder.h"

using Std_Output_File_test = Scratch_Folder_Test;

TEST_F(Std_Output_File_test, is_closed_after_either_end) {
    Std_Output_File out;
    for (const bool is_whole : {false, true}) {
        ASSERT_TRUE(out.open("f", Std_Output_File::FOLLOW_LINKS));
        EXPECT_GT(out.descriptor(), 2);
        if (is_whole) {
            EXPECT_TRUE(out.commit());
        } else {
            out.discard();
        }
        EXPECT_EQ(out.descriptor(), -1);
        EXPECT_EQ(std::filesystem::exists("f"), is_whole);
    }
}
