#include "studio/app/studioprocess.h"
#include "support/virtualhead.h"

#include <QFile>

#include <algorithm>
#include <gmock/gmock.h>
#include <map>
#include <memory>
#include <random>
#include <string>
#include <vector>

namespace {

using testing::AllOf;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;
using Vorta::Testing::StudioProcess;
using Vorta::Testing::VirtualHeads;

/// The program's preferences over several starts.
class Preferences : public testing::Test {
protected:
    void start() {
        studio_ = std::make_unique<StudioProcess>(home_.path());
        ASSERT_EQ(studio_->waitForLine("connected"), "connected");
    }

    void end() {
        studio_->command("close");
        ASSERT_EQ(studio_->exitCode(), 0);
        for (const QByteArray& line : studio_->lines())
            EXPECT_FALSE(line.startsWith("refused")) << line.toStdString();
        EXPECT_EQ(studio_->count("box"), 0);
    }

    void obey(const std::vector<const char*>& commands) {
        for (const char* command : commands)
            studio_->command(command);
    }

    /// What the program tells of a control or of a setting of the camera.
    std::string told(const char* verb, const char* name) {
        studio_->command((std::string(verb) + ' ' + name).c_str());
        const QByteArray beginning = QByteArray(name) + ": ";
        return studio_->waitForLine(beginning).mid(beginning.size()).toStdString();
    }

    /// Changes something of every kind that is kept.
    void fillPreferences() {
        start();
        obey({"trigger actionPreferences", "set minContrastEdit 7.25", "set colorBalanceRedSpinBox 1.5",
              "set logThresholdComboBox Debug", "click pushButtonAddExpertSetting", "set pathComboBox Measurement",
              "set nameLineEdit MinZ", "set valueLineEdit 123.5", "press ExpertSettingDialog OK",
              "press prefsDialog OK"});
        // The settings that are saved are the camera's with these changes: after the preferences were applied.
        obey({"trigger actionCapture", "set irisSpinBox 12", "click irisAddButton", "set irisSpinBox 31",
              "click irisAddButton", "set exposureTimeSpinBox 4321", "set minLEDBox 0.63", "click saveButton",
              "click closeButton"});
        end();
    }

    QString file() const { return home_.filePath(QStringLiteral("Vorta Labs/Vorta Studio.conf")); }

    QByteArray read() const {
        QFile store(file());
        EXPECT_TRUE(store.open(QIODevice::ReadOnly));
        return store.readAll();
    }

    void write(const QByteArray& content) const {
        QFile store(file());
        ASSERT_TRUE(store.open(QIODevice::WriteOnly));
        store.write(content);
    }

    VirtualHeads heads_{{.serialNumber = "T-0001"}};
    QTemporaryDir home_;
    std::unique_ptr<StudioProcess> studio_;
};

TEST_F(Preferences, EverythingIsBackAtTheNextStart) {
    fillPreferences();
    start();
    EXPECT_EQ(told("camera", "Filters/Contrast/Threshold"), "7.25");
    EXPECT_EQ(told("camera", "RedBalance"), "1.5");
    EXPECT_EQ(told("camera", "ExposureTime"), "4321");
    EXPECT_EQ(told("camera", "Brightness"), "0.63");
    EXPECT_EQ(told("camera", "Measurement/MinZ"), "123.5");
    obey({"trigger actionCapture"});
    EXPECT_EQ(told("show", "irisListView"), "12; 31");
    EXPECT_EQ(told("show", "exposureTimeSpinBox"), "4321");
    EXPECT_EQ(told("show", "minLEDBox"), "0.63");
    obey({"trigger actionPreferences"});
    EXPECT_EQ(told("show", "minContrastEdit"), "7.25");
    EXPECT_EQ(told("show", "logThresholdComboBox"), "Debug");
    EXPECT_THAT(told("show", "treeViewExpert"), HasSubstr("Measurement/MinZ=123.5"));
    end();
}

TEST_F(Preferences, ABrokenValueOfAnyKeyPreventsNoStart) {
    fillPreferences();
    const QByteArrayList lines = read().split('\n');
    std::map<std::string, const char*> reports{{"Filters\\Contrast\\Threshold", "defaulting to"},
                                               {"ExposureTime", "defaulting to"},
                                               {"Measurement\\MinZ", "defaulting to"},
                                               {"Geometry", "window layout cannot be read"},
                                               {"State", "window layout cannot be read"},
                                               {"LogThreshold", "log threshold is ignored"}};
    int broken = 0;
    for (int i = 0; i < lines.size(); ++i) {
        const int equals = lines[i].indexOf('=');
        if (equals < 0)
            continue;
        ++broken;
        SCOPED_TRACE(lines[i].toStdString());
        QByteArrayList changed = lines;
        changed[i] = lines[i].left(equals) + "=@ByteArray(\\x1\\xff no such value";
        write(changed.join('\n'));
        start();
        const std::string key = lines[i].left(equals).toStdString();
        const auto report = reports.find(key);
        if (report != reports.end()) {
            EXPECT_THAT(told("show", "tableWidget"), HasSubstr(report->second));
            reports.erase(report);
        }
        end();
    }
    EXPECT_GE(broken, 16);
    EXPECT_THAT(reports, IsEmpty()) << "some keys were not stored";
}

TEST_F(Preferences, RandomBytesPreventNoStartAndAreReported) {
    fillPreferences();
    // Random bytes may hit nothing that a value depends on: one value is broken in every round, before all of them, and
    // its whole one is gone, which would overrule it.
    QByteArrayList lines = read().split('\n');
    const auto exposure = std::find_if(lines.cbegin(), lines.cend(),
                                       [](const QByteArray& line) { return line.startsWith("ExposureTime="); });
    ASSERT_NE(exposure, lines.cend());
    lines.removeAll(*exposure);
    const QByteArray whole = lines.join('\n');
    std::mt19937 random(20);
    for (int round = 0; round < 5; ++round) {
        SCOPED_TRACE(round);
        QByteArray content = whole;
        for (int i = 0; i < 1 + content.size() / 20; ++i)
            content[static_cast<int>(random() % static_cast<unsigned>(content.size()))] = static_cast<char>(random());
        write("[Settings]\nExposureTime=no such value\n" + content);
        start();
        EXPECT_THAT(told("show", "tableWidget"), HasSubstr("Warning"));
        end();
    }
}

TEST_F(Preferences, AFileThatIsNoPreferencesIsReported) {
    fillPreferences();
    QByteArray noise(5000, '\0');
    std::mt19937 random(8);
    std::generate(noise.begin(), noise.end(), [&] { return static_cast<char>(random()); });
    write(noise);
    start();
    EXPECT_THAT(told("show", "tableWidget"), HasSubstr("are damaged: what cannot be read has its default."));
    end();
    EXPECT_THAT(read().toStdString(), HasSubstr("Geometry=")) << "the next start has preferences again";
}

TEST_F(Preferences, AWholeFileIsNotReported) {
    fillPreferences();
    start();
    EXPECT_THAT(told("show", "tableWidget"), AllOf(HasSubstr("Using camera driver"), Not(HasSubstr("Warning"))));
    end();
}

} // namespace
