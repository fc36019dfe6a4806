#include "sdk/api/completeframe.h"
#include "sdk/api/testtools.h"
#include "support/runprogram.h"

#include "vdf.h"

#include "vorta/common/exceptions.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstring>
#include <regex>
#include <thread>

namespace Vorta {
namespace {

using Testing::completeFrame;
using ::testing::HasSubstr;
using Testing::rawImages;
using Testing::readFile;
using Testing::runProgram;
using Testing::TemporaryFolder;

std::vector<std::uint8_t> pixelsOf(const RawImages& raw) {
    std::vector<std::uint8_t> pixels;
    for (std::size_t i = 0; i < raw.images->count(); ++i)
        pixels.insert(pixels.end(), raw.images->image(i).begin(), raw.images->image(i).end());
    return pixels;
}

void expectSame(const Frame& loaded, const Frame& saved) {
    const PointCloud points = loaded.getPointCloud();
    const PointCloud expected = saved.getPointCloud();
    ASSERT_EQ(points.height(), expected.height());
    ASSERT_EQ(points.width(), expected.width());
    EXPECT_EQ(std::memcmp(points.data(), expected.data(), points.size() * sizeof(Point)), 0);
    EXPECT_EQ(loaded.settings(), saved.settings());
    const FrameInfo& info = loaded.getImpl().info();
    const FrameInfo& expectedInfo = saved.getImpl().info();
    EXPECT_EQ(info.head.serialNumber, expectedInfo.head.serialNumber);
    EXPECT_EQ(info.time, expectedInfo.time);
    EXPECT_EQ(info.temperatures.lens, expectedInfo.temperatures.lens);
    EXPECT_EQ(info.calibrationText, expectedInfo.calibrationText);
    ASSERT_EQ(info.raw.images == nullptr, expectedInfo.raw.images == nullptr);
    if (info.raw.images) {
        EXPECT_EQ(info.raw.images->count(), expectedInfo.raw.images->count());
        EXPECT_EQ(pixelsOf(info.raw), pixelsOf(expectedInfo.raw));
        EXPECT_EQ(info.raw.bayerLayout, expectedInfo.raw.bayerLayout);
        EXPECT_EQ(info.raw.dimensions, expectedInfo.raw.dimensions);
    }
}

Frame load(const std::string& path) {
    return {path, ComputeDevice{}};
}

TEST(CompleteFile, GivesBackImagesCalibrationAndChildren) {
    const TemporaryFolder folder;
    const Frame saved = completeFrame();
    saved.save(folder.file("a.vdf"));
    const Frame loaded = load(folder.file("a.vdf"));
    expectSame(loaded, saved);
    const auto children = loaded.getImpl().childFrames();
    const auto expected = saved.getImpl().childFrames();
    ASSERT_EQ(children.size(), 2U);
    ASSERT_EQ(expected.size(), 2U);
    for (std::size_t i = 0; i < children.size(); ++i) {
        SCOPED_TRACE(i);
        expectSame(children[i], expected[i]);
        EXPECT_TRUE(children[i].getImpl().childFrames().empty());
    }
}

TEST(CompleteFile, HoldsOnlyWhatTheSettingsAsk) {
    const TemporaryFolder folder;
    const auto reloaded = [&](const char* images, const char* children) {
        completeFrame(images, children).save(folder.file("a.vdf"));
        const Frame frame = load(folder.file("a.vdf"));
        return std::pair(frame.getImpl().info().raw.images != nullptr, frame.getImpl().childFrames().size());
    };
    EXPECT_EQ(reloaded("false", "false"), std::pair(false, std::size_t{0}));
    EXPECT_EQ(reloaded("true", "false"), std::pair(true, std::size_t{2}));
    EXPECT_EQ(reloaded("false", "true"), std::pair(false, std::size_t{2}));
    EXPECT_EQ(reloaded("true", "true"), std::pair(true, std::size_t{2}));
}

TEST(CompleteFile, CanBeReadByOtherTools) {
    const TemporaryFolder folder;
    completeFrame().save(folder.file("a.vdf"));
    const Testing::Result dump = runProgram("ncdump", {folder.file("a.vdf")});
    ASSERT_EQ(dump.status, 0) << dump.err;
    for (const char* text :
         {"exposure = 4 ;", "ubyte image(exposure, row, column) ;", "image:bayer_layout = \"GRBG\" ;",
          "image:sensor_width = 3 ;", "image:sensor_height = 2 ;", "image:projector_width = 912 ;",
          "image:projector_height = 1140 ;", "image:units = \"1\" ;", " image =\n  0, 1, 2,\n  3, 4, 5,\n  6, 7, 8,\n",
          "group: calibration {", ":yaml = \"cameras: [1, 2.5]", "group: children {", "group: \\0 {", "group: \\1 {"})
        EXPECT_THAT(dump.out, HasSubstr(text));
}

TEST(CompleteFile, EndsWithTheSealThatThePageDescribes) {
    const TemporaryFolder folder;
    Testing::largeFrame().save(folder.file("a.vdf"));
    const Testing::Result result = runProgram(
        "python3",
        {"-c",
         "import struct, sys, zlib\n"
         "data = open(sys.argv[1], 'rb').read()\n"
         "body, seal = data[:-20], data[-20:]\n"
         "sums = b''.join(struct.pack('<I', zlib.crc32(body[i:i + 2**20])) for i in range(0, len(body), 2**20))\n"
         "print(len(body) > 2**20, seal == b'VORTACRC' + struct.pack('<QI', len(body), zlib.crc32(sums)))",
         folder.file("a.vdf")});
    EXPECT_EQ(result.out, "True True\n") << result.err;
}

TEST(CompleteFile, TakesLongCalibrationsAndRefusesEndlessOnes) {
    const TemporaryFolder folder;
    const auto framed = [](std::size_t length) {
        const FrameInfo info{.head = {}, .time = {}, .temperatures = {}, .calibrationText = std::string(length, 'c')};
        return Frame(std::make_shared<FrameImpl>(Testing::smallCloud(), Settings{}, info, ComputeDevice{}));
    };
    framed(Vdf::maximumCalibrationText).save(folder.file("a.vdf"));
    EXPECT_EQ(load(folder.file("a.vdf")).getImpl().info().calibrationText,
              std::string(Vdf::maximumCalibrationText, 'c'));
    try {
        framed(Vdf::maximumCalibrationText + 1).save(folder.file("a.vdf"));
        FAIL() << "an endless calibration was saved";
    } catch (const IOException& error) {
        EXPECT_EQ(std::string(error.what()),
                  "File '" + folder.file("a.vdf") +
                      "' cannot be written: the calibration is longer than a data file holds.");
    }
}

TEST(CompleteFile, RefusesWhatItCouldNotReadAgain) {
    const TemporaryFolder folder;
    const auto reason = [&](const PointCloud& cloud, const FrameInfo& info) {
        try {
            Frame(std::make_shared<FrameImpl>(cloud, Settings{}, info, ComputeDevice{})).save(folder.file("a.vdf"));
        } catch (const IOException& error) {
            const std::string prefix = "File '" + folder.file("a.vdf") + "' cannot be written: ";
            const std::string text = error.what();
            return text.starts_with(prefix) ? text.substr(prefix.size()) : text;
        }
        return std::string("saved");
    };
    const PointCloud small = Testing::smallCloud();
    FrameInfo info;
    EXPECT_EQ(reason(PointCloud(16385, 1), info), "the grid of 16385 x 1 points is larger than a data file holds.");
    info.head.modelName.assign(65537, 'm');
    EXPECT_EQ(reason(small, info), "a text about the head is longer than a data file holds.");
    info.head.modelName.clear();
    info.raw = rawImages(1025, 2, 3);
    EXPECT_EQ(reason(small, info), "there are more raw images than a data file holds.");
    info.raw = rawImages(1, 2, 3);
    info.raw.dimensions.projectorWidth = 20000;
    EXPECT_EQ(reason(small, info), "the head has larger images than a data file holds.");
    EXPECT_TRUE(folder.entries().empty());
}

TEST(CompleteFile, IsTheSameWhateverTheNumberOfThreads) {
    const TemporaryFolder folder;
    const Frame frame = Testing::largeFrame();
    Vdf::save(frame.getImpl(), folder.file("1.vdf"), 1);
    Vdf::save(frame.getImpl(), folder.file("4.vdf"), 4);
    EXPECT_EQ(readFile(folder.file("1.vdf")), readFile(folder.file("4.vdf")));
    for (const std::size_t threads : {1U, 4U})
        expectSame(Frame(Vdf::load(folder.file("4.vdf"), ComputeDevice{}, threads)), frame);
}

TEST(CompleteFile, IsReadAlikeByPlainNetCdf) {
    // nccopy reads through netCDF's own filters and writes other blocks: what comes back is what it saw.
    const TemporaryFolder folder;
    const Frame frame = Testing::largeFrame();
    frame.save(folder.file("a.vdf"));
    const std::vector<std::vector<std::string>> variants{
        {"-d", "0"},                                      // not compressed
        {"-d", "5", "-s"},                                // the same blocks
        {"-d", "1", "-c", "row/100,column/64,channel/3"}, // tiles
        {"-u", "-d", "3", "-c", "row/7,column/300,channel/3,exposure/2"},
        {"-F", "none", "-c", "row/,column/,channel/,exposure/"}, // in one piece
    };
    for (const auto& options : variants) {
        SCOPED_TRACE(::testing::PrintToString(options));
        std::vector<std::string> arguments = options;
        arguments.insert(arguments.end(), {folder.file("a.vdf"), folder.file("b.vdf")});
        const Testing::Result copied = runProgram("nccopy", arguments);
        ASSERT_EQ(copied.status, 0) << copied.err;
        expectSame(load(folder.file("b.vdf")), frame);
    }
}

TEST(CompleteFile, OfOtherFiltersIsReadAlike) {
    // netCDF's own tools write each file anew: with checksums, and compressed in a way that the library leaves to
    // netCDF.
    const TemporaryFolder folder;
    const Frame frame = completeFrame();
    frame.save(folder.file("a.vdf"));
    const Testing::Result text = runProgram("ncdump", {"-s", "-p", "9,17", folder.file("a.vdf")});
    ASSERT_EQ(text.status, 0) << text.err;
    // ncgen would write an empty text as a zero byte; what a file leaves out is empty too.
    const std::string filled = std::regex_replace(text.out, std::regex(R"(\s*:\w+ = "" ;)"), "");
    const std::regex compression("(\\w+):_DeflateLevel = \\d+ ;");
    for (const std::string other : {"$&\n$1:_Fletcher32 = \"true\" ;", "$1:_Filter = \"4,32,2\" ;"}) {
        SCOPED_TRACE(other);
        Testing::writeFile(folder.file("b.cdl"), std::regex_replace(filled, compression, other));
        const Testing::Result made = runProgram("ncgen", {"-4", "-o", folder.file("b.vdf"), folder.file("b.cdl")});
        ASSERT_EQ(made.status, 0) << made.err;
        const Testing::Result header = runProgram("ncdump", {"-hs", folder.file("b.vdf")});
        EXPECT_THAT(header.out, HasSubstr(other.substr(other.find(':')).substr(0, 10)));
        expectSame(load(folder.file("b.vdf")), frame);
    }
}

TEST(CompleteFile, CanBeSavedAndLoadedByManyThreadsAtOnce) {
    const TemporaryFolder folder;
    const Frame frame = Testing::largeFrame();
    frame.save(folder.file("shared.vdf"));
    std::vector<std::jthread> threads;
    for (int i = 0; i < 4; ++i)
        threads.emplace_back([&, i] {
            const std::string own = folder.file(std::to_string(i) + ".vdf");
            frame.save(own);
            expectSame(load(own), frame);
            frame.save(folder.file("shared.vdf")); // whole at any moment
            expectSame(load(folder.file("shared.vdf")), frame);
        });
}

} // namespace
} // namespace Vorta
