#include "sdk/api/testtools.h"
#include "support/runprogram.h"

#include "vorta/api/groundtruth.h"
#include "vorta/common/exceptions.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace Vorta {
namespace {

using ::testing::HasSubstr;
using Testing::runProgram;
using Testing::TemporaryFolder;

TEST(GroundTruth, IsWrittenForOtherTools) {
    const TemporaryFolder folder;
    constexpr float nothing = std::numeric_limits<float>::quiet_NaN();
    saveGroundTruth({.height = 2, .width = 2, .depthMm = {700.5F, nothing, 702.25F, 703.0F}, .visible = {1, 0, 0, 1}},
                    folder.file("truth.nc"));
    const Testing::Result dump = runProgram("ncdump", {folder.file("truth.nc")});
    ASSERT_EQ(dump.status, 0) << dump.err;
    for (const char* text : {"row = 2 ;", "column = 2 ;", "float z_true(row, column) ;", "z_true:units = \"mm\" ;",
                             "z_true:_FillValue = NaNf ;", "ubyte visible(row, column) ;",
                             "z_true =\n  700.5, _,\n  702.25, 703 ;", "visible =\n  1, 0,\n  0, 1 ;"})
        EXPECT_THAT(dump.out, HasSubstr(text));
    EXPECT_THAT(folder.entries(), ::testing::ElementsAre("truth.nc"));
}

TEST(GroundTruth, SaysWhyItCannotBeWritten) {
    try {
        saveGroundTruth({.height = 1, .width = 1, .depthMm = {1.0F}, .visible = {1}}, "/nowhere/truth.nc");
        FAIL() << "written to a folder that does not exist";
    } catch (const IOException& error) {
        EXPECT_STREQ(error.what(), "File '/nowhere/truth.nc' cannot be written: No such file or directory.");
    }
}

} // namespace
} // namespace Vorta
