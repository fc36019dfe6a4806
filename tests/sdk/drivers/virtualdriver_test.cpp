#include "bareheads.h"

#include "vorta/virtual/virtualdriver.h"

#define BOOST_DLL_USE_STD_FS
#include <boost/dll/shared_library.hpp>
#include <gmock/gmock.h>

#include <limits>
#include <memory>
#include <vector>

namespace Vorta::Testing {
namespace {

using ::testing::AllOf;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;

std::vector<std::string> serialNumbers(Driver::Driver& driver) {
    std::vector<std::string> numbers;
    for (const Driver::HeadIdentity& head : driver.heads())
        numbers.push_back(head.serialNumber);
    return numbers;
}

template <class Action>
std::string runtimeWordsOf(Action action) {
    try {
        action();
    } catch (const RuntimeException& error) {
        return error.what();
    }
    ADD_FAILURE() << "nothing was thrown";
    return {};
}

TEST(VirtualDriver, ListsItsOwnHeadsBySerialNumber) {
    VirtualHeads heads;
    heads.plug({.serialNumber = "B"});
    heads.plug({.serialNumber = "A", .model = "First", .firmware = "VORTA 0.9.20", .productRevision = "Rev2"});
    heads.plug({.serialNumber = "C", .driver = "IDS"});
    Virtual::VirtualDriver driver("ToshibaTeli");
    const std::vector<Driver::HeadIdentity> found = driver.heads();
    ASSERT_EQ(found.size(), 2U);
    EXPECT_EQ(found[0].serialNumber, "A");
    EXPECT_EQ(found[0].modelName, "First");
    EXPECT_EQ(found[0].firmwareVersion, "VORTA 0.9.20");
    EXPECT_EQ(found[0].productRevision, "Rev2");
    EXPECT_EQ(found[1].serialNumber, "B");
    Virtual::VirtualDriver other("IDS");
    EXPECT_THAT(serialNumbers(other), ElementsAre("C"));
}

TEST(VirtualDriver, HasNoHeadsWithoutTheVariable) {
    VirtualHeads heads({.serialNumber = "A"});
    Virtual::VirtualDriver driver("ToshibaTeli");
    auto environment = boost::this_process::environment();
    environment.reset("VORTA_VIRTUAL_HEADS");
    EXPECT_THAT(serialNumbers(driver), IsEmpty());
    environment.set("VORTA_VIRTUAL_HEADS", heads.folder().string());
    EXPECT_THAT(serialNumbers(driver), ElementsAre("A"));
}

TEST(VirtualDriver, SaysOnceThatTheFolderCannotBeRead) {
    VirtualHeads heads;
    boost::this_process::environment().set("VORTA_VIRTUAL_HEADS", (heads.folder() / "missing").string());
    Warnings warnings;
    Virtual::VirtualDriver driver("ToshibaTeli");
    EXPECT_THAT(serialNumbers(driver), IsEmpty());
    EXPECT_THAT(serialNumbers(driver), IsEmpty());
    const std::vector<std::string> texts = warnings.take();
    ASSERT_EQ(texts.size(), 1U);
    EXPECT_THAT(texts[0], AllOf(HasSubstr((heads.folder() / "missing").string()), HasSubstr("cannot be read")));
}

TEST(VirtualDriver, ABrokenFileHidesNoOtherHead) {
    VirtualHeads heads({.serialNumber = "A"});
    heads.plugText("broken", "serialNumber: X\nscene: s.yml\ngain: 3\n");
    Warnings warnings;
    Virtual::VirtualDriver driver("ToshibaTeli");
    EXPECT_THAT(serialNumbers(driver), ElementsAre("A"));
    EXPECT_THAT(serialNumbers(driver), ElementsAre("A"));
    const std::vector<std::string> texts = warnings.take();
    ASSERT_EQ(texts.size(), 1U); // not with every look
    EXPECT_THAT(texts[0], AllOf(HasSubstr("broken.yml', line 3: unknown key 'gain'")));
    // Mended it appears, broken again (in another way) it is reported again.
    heads.plug({.serialNumber = "broken"});
    EXPECT_THAT(serialNumbers(driver), ElementsAre("A", "broken"));
    heads.plugText("broken", "serialNumber: X\n");
    EXPECT_THAT(serialNumbers(driver), ElementsAre("A"));
    EXPECT_EQ(warnings.take().size(), 1U);
}

TEST(VirtualDriver, LooksOnlyAtHeadFilesOfTheFolderItself) {
    VirtualHeads heads({.serialNumber = "A"}); // its scene lies in a folder below
    std::ofstream(heads.folder() / "notes.txt") << "serialNumber: N\nscene: s.yml\n";
    Warnings warnings;
    Virtual::VirtualDriver driver("ToshibaTeli");
    EXPECT_THAT(serialNumbers(driver), ElementsAre("A"));
    EXPECT_THAT(warnings.take(), IsEmpty());
}

TEST(VirtualDriver, OfTwoHeadsWithOneSerialNumberTheFirstFileCounts) {
    VirtualHeads heads;
    heads.plugText("1", "serialNumber: S\nscene: s.yml\nmodel: One\n");
    heads.plugText("2", "serialNumber: S\nscene: s.yml\nmodel: Two\n");
    Virtual::VirtualDriver driver("ToshibaTeli");
    const std::vector<Driver::HeadIdentity> found = driver.heads();
    ASSERT_EQ(found.size(), 1U);
    EXPECT_EQ(found[0].modelName, "One");
}

TEST(VirtualDriver, PlugsAndUnplugsAtAnyTime) {
    VirtualHeads heads;
    Virtual::VirtualDriver driver("ToshibaTeli");
    EXPECT_THAT(serialNumbers(driver), IsEmpty());
    heads.plug({.serialNumber = "A"});
    EXPECT_THAT(serialNumbers(driver), ElementsAre("A"));
    heads.unplug("A");
    EXPECT_THAT(serialNumbers(driver), IsEmpty());
    EXPECT_EQ(runtimeWordsOf([&] { (void)driver.open("A"); }), "No head with the serial number 'A' is plugged in.");
}

TEST(VirtualDriver, OpensAHeadOnceAtATime) {
    VirtualHeads heads({.serialNumber = "A"});
    Virtual::VirtualDriver driver("ToshibaTeli");
    auto head = driver.open("A");
    EXPECT_EQ(head->identity().serialNumber, "A");
    EXPECT_EQ(runtimeWordsOf([&] { (void)driver.open("A"); }), "The head 'A' is already open; close it first.");
    head.reset();
    EXPECT_NE(driver.open("A"), nullptr);
}

TEST(VirtualDriver, AReplacedHeadCanBeOpenedBesideItsGhost) {
    VirtualHeads heads({.serialNumber = "A"});
    Virtual::VirtualDriver driver("ToshibaTeli");
    const auto ghost = driver.open("A");
    heads.unplug("A");
    EXPECT_FALSE(ghost->isPresent());
    heads.plug({.serialNumber = "A"});
    const auto head = driver.open("A");
    EXPECT_TRUE(head->isPresent());
    EXPECT_FALSE(ghost->isPresent()); // once gone, it stays gone
}

TEST(VirtualDriver, SaysWhyAHeadDoesNotAnswer) {
    VirtualHeads heads({.serialNumber = "A", .scene = "objects:\n  - cone: {}\n"});
    Virtual::VirtualDriver driver("ToshibaTeli");
    EXPECT_THAT(runtimeWordsOf([&] { (void)driver.open("A"); }),
                AllOf(HasSubstr("The head 'A' does not answer: "),
                      HasSubstr("A.yml', line 2: an object must be exactly one of sphere, box, plane, mesh.")));
}

TEST(VirtualHead, CapturesAndKnowsTheTruth) {
    VirtualHeads heads({.serialNumber = "A", .noise = false, .more = "temperatures: {head: 41}\n"});
    Virtual::VirtualDriver driver("ToshibaTeli");
    const auto head = driver.open("A");
    EXPECT_EQ(head->dimensions().sensorWidth, 243U);
    EXPECT_EQ(head->bayerLayout(), Driver::BayerLayout::BGGR);
    EXPECT_EQ(head->temperatures().head, 41.0);
    EXPECT_FALSE(head->groundTruth().has_value());
    head->configure({.iris = 31, .maxIris = 63, .blackLevel = 4.0});
    Driver::ImageStack images;
    head->acquire(flat(1.0F), images);
    EXPECT_EQ(images.count(), 1U);
    EXPECT_EQ(images.height(), 150U);
    EXPECT_EQ(images.width(), 243U);
    EXPECT_GT(images.image(0)[centre], 200);
    const auto truth = head->groundTruth();
    ASSERT_TRUE(truth.has_value());
    EXPECT_NEAR(truth->depthMm[centre], 700.0F, 1e-4F);
    EXPECT_EQ(truth->visible[centre], 1);
    // Takes effect with the next capture.
    head->configure({.iris = 0, .maxIris = 63, .blackLevel = 4.0});
    head->acquire(flat(1.0F), images);
    EXPECT_EQ(images.image(0)[centre], 4);
}

TEST(VirtualHead, AnUnpluggedHeadSaysSo) {
    VirtualHeads heads({.serialNumber = "A"});
    Virtual::VirtualDriver driver("ToshibaTeli");
    const auto head = driver.open("A");
    EXPECT_TRUE(head->isPresent());
    heads.unplug("A");
    Driver::ImageStack images;
    EXPECT_EQ(runtimeWordsOf([&] { head->acquire(flat(1.0F), images); }),
              "The head 'A' is no longer plugged in: its file '" + (heads.folder() / "A.yml").string() + "' is gone.");
    EXPECT_FALSE(head->isPresent());
    EXPECT_EQ(head->identity().serialNumber, "A"); // what is known stays known
}

TEST(VirtualHead, RefusesAConfigurationOutOfRange) {
    VirtualHeads heads({.serialNumber = "A"});
    Virtual::VirtualDriver driver("ToshibaTeli");
    const auto head = driver.open("A");
    const auto refused = [&](const Driver::HeadConfiguration& configuration) {
        try {
            head->configure(configuration);
        } catch (const ArgumentOutOfRangeException& error) {
            return error.parameter();
        }
        return std::string("nothing");
    };
    EXPECT_EQ(refused({.exposureTimeUs = 0}), "exposureTimeUs");
    EXPECT_EQ(refused({.iris = 64, .maxIris = 63}), "iris");
    EXPECT_EQ(refused({.maxIris = 0}), "maxIris");
    EXPECT_EQ(refused({.brightness = 1.1}), "brightness");
    EXPECT_EQ(refused({.brightness = -0.1}), "brightness");
    EXPECT_EQ(refused({.gain = 0.9}), "gain");
    EXPECT_EQ(refused({.gamma = 0.0}), "gamma");
    EXPECT_EQ(refused({.blackLevel = -1.0}), "blackLevel");
    EXPECT_EQ(refused({.blackLevel = 256.0}), "blackLevel");
    EXPECT_EQ(refused({.ledCurrentPercent = {0.0, 101.0, 0.0}}), "ledCurrentPercent");
    EXPECT_EQ(refused({.brightness = std::numeric_limits<double>::quiet_NaN()}), "brightness");
    EXPECT_EQ(refused({.iris = 63, .maxIris = 63}), "nothing");
}

class Plugin : public ::testing::TestWithParam<const char*> {};

TEST_P(Plugin, CarriesItsNameAndCreatesTheDriver) {
    const std::string name = GetParam();
    const boost::dll::shared_library plugin(std::filesystem::path(VORTA_BIN_DIR) / ("VortaCamera" + name + ".dll"));
    const auto create = plugin.get<Driver::Driver*(std::uint32_t)>("vortaCreateDriver");
    EXPECT_EQ(create(Driver::interfaceVersion + 1), nullptr);
    const std::unique_ptr<Driver::Driver> driver(create(Driver::interfaceVersion));
    ASSERT_NE(driver, nullptr);
    VirtualHeads heads;
    for (const char* other : {"ToshibaTeli", "IDS", "PtGrey"})
        heads.plug({.serialNumber = std::string("of ") + other, .driver = other});
    EXPECT_THAT(serialNumbers(*driver), ElementsAre("of " + name));
    const auto head = driver->open("of " + name);
    Driver::ImageStack images;
    head->acquire(flat(1.0F), images);
    EXPECT_EQ(images.count(), 1U);
}

INSTANTIATE_TEST_SUITE_P(Each, Plugin, ::testing::Values("ToshibaTeli", "IDS", "PtGrey"));

} // namespace
} // namespace Vorta::Testing
