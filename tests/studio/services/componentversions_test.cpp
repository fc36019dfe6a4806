#include "services/componentversions.h"

#include "services/platform/platform.h"
#include "services/platform/versionsection.h"
#include "studio/services/elffile.h"
#include "studio/services/services.h"

#include <QDir>
#include <QFile>
#include <QProcess>
#include <QRegularExpression>
#include <QTemporaryDir>

#include <gtest/gtest.h>

using namespace Vorta::Testing;
using namespace VortaQt;
using Platform::FileVersionRecord;
using Platform::parseVersionSection;
using Platform::VersionTexts;

namespace {

using namespace std::string_literals;

const QString binFolder = QStringLiteral(VORTA_BIN_DIR);

QStringList textsOf(const FileVersionRecord& record) {
    return {record.description, record.comments, record.fileVersion, record.productVersion};
}

const QStringList noTexts{QString(), QString(), QString(), QString()};

/// What binutils finds in the version section of a file, in the order of textsOf().
QStringList readelfTexts(const QString& path) {
    QProcess readelf;
    readelf.start(QStringLiteral("readelf"), {QStringLiteral("-p"), QStringLiteral(".vorta_version"), path});
    if (!readelf.waitForFinished() || readelf.exitCode() != 0)
        return {QStringLiteral("readelf failed on ") + path};
    QStringList lines;
    const QRegularExpression line(QStringLiteral("^ *\\[ *[0-9a-f]+\\]  (.*)$"), QRegularExpression::MultilineOption);
    for (auto found = line.globalMatch(QString::fromUtf8(readelf.readAllStandardOutput())); found.hasNext();)
        lines += found.next().captured(1);
    QStringList texts;
    for (const char* key : {"FileDescription", "Comments", "FileVersion", "ProductVersion"})
        texts += lines.value(lines.indexOf(QLatin1String(key)) + 1, QStringLiteral("nothing"));
    return texts;
}

QStringList textsOf(const VersionTexts& texts) {
    return {QString::fromStdString(texts.description), QString::fromStdString(texts.comments),
            QString::fromStdString(texts.fileVersion), QString::fromStdString(texts.productVersion)};
}

TEST(VersionSection, hasKeysAndValuesInTurn) {
    EXPECT_EQ(textsOf(parseVersionSection("ProductVersion\0p\0Comments\0c\0FileDescription\0d\0FileVersion\0f\0"s)),
              QStringList({QStringLiteral("d"), QStringLiteral("c"), QStringLiteral("f"), QStringLiteral("p")}));
    EXPECT_EQ(textsOf(parseVersionSection("Comments\0\0FileVersion\0"
                                          "1.0\0"s)),
              QStringList({QString(), QString(), QStringLiteral("1.0"), QString()}));
    EXPECT_EQ(textsOf(parseVersionSection("FileDescription\0Gr\u00fc\u00dfe\0"s)).first(),
              QString::fromUtf8("Gr\u00fc\u00dfe"));
}

TEST(VersionSection, passesOverKeysOfOthers) {
    EXPECT_EQ(parseVersionSection("Author\0Comments\0Comments\0c\0"s).comments, "c");
    EXPECT_EQ(textsOf(parseVersionSection("comments\0c\0Comment\0c\0Commentss\0c\0"s)), noTexts);
}

TEST(VersionSection, theFirstOfTwoEqualKeysCounts) {
    EXPECT_EQ(parseVersionSection("Comments\0first\0Comments\0second\0"s).comments, "first");
    EXPECT_EQ(parseVersionSection("Comments\0\0Comments\0second\0"s).comments, "");
}

TEST(VersionSection, endsWhereATextHasNoEnd) {
    EXPECT_EQ(textsOf(parseVersionSection("")), noTexts);
    EXPECT_EQ(textsOf(parseVersionSection("Comments")), noTexts);
    EXPECT_EQ(textsOf(parseVersionSection("Comments\0"s)), noTexts);
    EXPECT_EQ(textsOf(parseVersionSection("Comments\0cut off"s)), noTexts);
    EXPECT_EQ(parseVersionSection("Comments\0c\0FileVersion\0"
                                  "1"s)
                  .comments,
              "c");
    EXPECT_EQ(textsOf(parseVersionSection(std::string(100, '\0'))), noTexts);
    EXPECT_EQ(textsOf(parseVersionSection("\0Comments\0c\0"s)), noTexts) << "padding ends the record";
}

TEST(FileVersion, isReadFromAFile) {
    const QTemporaryDir folder;
    const QString path = folder.filePath(QString::fromUtf8("caf\u00e9.dll"));
    const ElfFile file(".vorta_version", "FileDescription\0Grab\0Comments\0c\0FileVersion\0f\0ProductVersion\0p\0"s);
    writeFile(QFile::encodeName(path).toStdString(), file.bytes());
    EXPECT_EQ(textsOf(Platform::fileVersionRecord(path)),
              QStringList({QStringLiteral("Grab"), QStringLiteral("c"), QStringLiteral("f"), QStringLiteral("p")}));
}

TEST(FileVersion, isEmptyForAFileWithoutARecord) {
    const QTemporaryDir folder;
    const QString path = folder.filePath(QStringLiteral("file"));
    for (const std::string& bytes : {std::string(), "text"s, ElfFile(".other", "Comments\0c\0"s).bytes(),
                                     ElfFile(".vorta_version", std::string(70000, 'x')).bytes()}) {
        writeFile(path.toStdString(), bytes);
        EXPECT_EQ(textsOf(Platform::fileVersionRecord(path)), noTexts) << bytes.size();
    }
    EXPECT_EQ(textsOf(Platform::fileVersionRecord(folder.path())), noTexts);
    EXPECT_EQ(textsOf(Platform::fileVersionRecord(folder.filePath(QStringLiteral("nowhere")))), noTexts);
    EXPECT_EQ(textsOf(Platform::fileVersionRecord(QString())), noTexts);
    EXPECT_EQ(textsOf(Platform::fileVersionRecord(QStringLiteral("/bin/sh"))), noTexts);
}

struct OwnFile {
    const char* name;
    const char* description;
};

// Every program, library and plug-in of the product.
const OwnFile ownFiles[] = {
    {"VortaStudio", "Vorta Studio"},
    {"libVortaAPI.so", "Vorta camera library"},
    {"libVortaCommon.so", "Points, settings and log of the Vorta camera library"},
    {"libVortaCommonCompute.so", "Compute devices of the Vorta camera library"},
    {"libVortaViewerLib.so", "3D view of the Vorta camera library"},
    {"VortaCameraIDS.dll", "Driver for IDS cameras"},
    {"VortaCameraPtGrey.dll", "Driver for PtGrey cameras"},
    {"VortaCameraToshibaTeli.dll", "Driver for ToshibaTeli cameras"},
    {"VortaCameraNetCDF.dll", "Driver that replays data files"},
    {"libVortaImageFiles.so", "Image files of Vorta Studio"},
    {"libVortaPlots.so", "Plots of Vorta Studio"},
    {"VortaFirmwareUpdater.exe", "Firmware updater for Vorta 3D cameras"},
    {"vorta", "Command line of the Vorta 3D camera"},
};

class OwnFileVersion : public testing::TestWithParam<OwnFile> {};

TEST_P(OwnFileVersion, isWhatBinutilsReads) {
    const QString path = binFolder + QLatin1Char('/') + QLatin1String(GetParam().name);
    ASSERT_TRUE(QFile::exists(path)) << path.toStdString();
    const FileVersionRecord record = Platform::fileVersionRecord(path);
    EXPECT_EQ(textsOf(record), readelfTexts(path));
    EXPECT_EQ(record.description, QLatin1String(GetParam().description));
    EXPECT_EQ(record.fileVersion, QStringLiteral(VORTA_VERSION));
    EXPECT_EQ(record.productVersion, QStringLiteral("1.0.1+3607.8a7510c4"));
    EXPECT_TRUE(record.comments.contains(QStringLiteral(" build for Linux "))) << record.comments.toStdString();
}

INSTANTIATE_TEST_SUITE_P(All, OwnFileVersion, testing::ValuesIn(ownFiles),
                         [](const testing::TestParamInfo<OwnFile>& file) {
                             return QString(QLatin1String(file.param.name))
                                 .remove(QRegularExpression(QStringLiteral("\\..*")))
                                 .toStdString();
                         });

TEST(FileVersion, isReadWithoutLoadingTheFile) {
    ASSERT_FALSE(
        Platform::fileVersionRecord(binFolder + QStringLiteral("/VortaCameraNetCDF.dll")).description.isEmpty());
    QFile maps(QStringLiteral("/proc/self/maps"));
    ASSERT_TRUE(maps.open(QIODevice::ReadOnly));
    EXPECT_FALSE(maps.readAll().contains("VortaCameraNetCDF"));
}

TEST(NativeFile, isTheFileThatTheSystemCallsOtherwise) {
    const QTemporaryDir folder;
    const auto native = [&folder](const char* name) {
        return QDir(folder.path()).relativeFilePath(Platform::nativeFile(folder.path(), QLatin1String(name)));
    };
    EXPECT_EQ(native("VortaStudio.exe"), QStringLiteral("VortaStudio"));
    EXPECT_EQ(native("VortaAPI.dll"), QStringLiteral("libVortaAPI.so"));
    EXPECT_EQ(native("A.B.dll"), QStringLiteral("libA.B.so"));
    EXPECT_EQ(native("pyvorta.pyd"), QStringLiteral("pyvorta.so"));
    EXPECT_EQ(native("README"), QStringLiteral("README"));
    // Unless there is a file of that very name.
    writeFile(folder.filePath(QStringLiteral("VortaAPI.dll")).toStdString(), "");
    EXPECT_EQ(native("VortaAPI.dll"), QStringLiteral("VortaAPI.dll"));
}

TEST(ComponentVersionsOfAFolder, areInTheOrderOfTheNames) {
    const ComponentVersions components =
        readComponentVersions(binFolder, {QStringLiteral("VortaStudio.exe"), QStringLiteral("VortaCameraNetCDF.dll"),
                                          QStringLiteral("NoSuchFile.dll"), QStringLiteral("VortaAPI.dll")});
    EXPECT_EQ(components.keys(),
              QStringList({QStringLiteral("NoSuchFile.dll"), QStringLiteral("VortaAPI.dll"),
                           QStringLiteral("VortaCameraNetCDF.dll"), QStringLiteral("VortaStudio.exe")}));
    EXPECT_EQ(textsOf(components.value(QStringLiteral("NoSuchFile.dll"))), noTexts);
    EXPECT_EQ(components.value(QStringLiteral("VortaAPI.dll")).description, QStringLiteral("Vorta camera library"));
    EXPECT_EQ(components.value(QStringLiteral("VortaStudio.exe")).description, QStringLiteral("Vorta Studio"));
}

TEST(StudioComponents, areTheFilesBesideTheProgram) {
    coreApplication();
    const ComponentVersions components = studioComponents();
    EXPECT_EQ(components.keys(),
              QStringList({QStringLiteral("VortaAPI.dll"), QStringLiteral("VortaCameraNetCDF.dll"),
                           QStringLiteral("VortaCameraToshibaTeli.dll"), QStringLiteral("VortaNET.dll"),
                           QStringLiteral("VortaStudio.exe"), QStringLiteral("VortaVis3D.dll"),
                           QStringLiteral("VortaVis3DNET.dll"), QStringLiteral("pyvorta.pyd")}));
    for (const char* built : {"VortaAPI.dll", "VortaCameraNetCDF.dll", "VortaCameraToshibaTeli.dll", "VortaStudio.exe"})
        EXPECT_EQ(components.value(QLatin1String(built)).fileVersion, QStringLiteral(VORTA_VERSION)) << built;
}

TEST(ComponentText, hasThreeLinesForEachFile) {
    ComponentVersions components;
    EXPECT_EQ(componentText(components), QString());
    components.insert(QStringLiteral("b.dll"), {});
    components.insert(QStringLiteral("a.exe"), {QStringLiteral("Program A"), QStringLiteral("made by hand"),
                                                QStringLiteral("1.2"), QStringLiteral("3.4+5")});
    EXPECT_EQ(componentText(components), QStringLiteral("a.exe: Description: Program A\n"
                                                        "FileVersion: 1.2 ProductVersion: 3.4+5\n"
                                                        "Comments: made by hand\n"
                                                        "b.dll: Description: \n"
                                                        "FileVersion:  ProductVersion: \n"
                                                        "Comments: \n"));
}

} // namespace
