// The texts that the legal notice shows for the libraries, as this machine's packages have them.
#include "services/aboutdialog.h"

#include "support/modaldriver.h"
#include "support/widgets.h"

#include <QFile>
#include <QListWidget>
#include <QMap>
#include <QPushButton>
#include <QTextBrowser>

#include <gtest/gtest.h>
#include <vector>

using namespace Vorta::Testing;

namespace {

QByteArray contentOf(const QString& path) {
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : "cannot read " + path.toUtf8();
}

/// The copyright file that each licence was made from, by the licence's name.
QMap<QString, QString> collectedLicences() {
    QMap<QString, QString> collected;
    for (const QString& licence : QStringLiteral(VORTA_LICENCES).split(QLatin1Char('|'), Qt::SkipEmptyParts))
        collected.insert(licence.section(QLatin1Char('='), 0, 0), licence.section(QLatin1Char('='), 1));
    return collected;
}

struct Licence {
    const char* shownAs;              ///< in the list of libraries
    const char* name;                 ///< of the resource, without its ending
    bool always;                      ///< whether its package is one that every build has
    std::vector<const char*> phrases; ///< that only this library's licence has together
};

const Licence licences[] = {
    {"Qt",
     "qt_lgpl2.1",
     true,
     {"The Qt Company Ltd.", "GNU LESSER GENERAL PUBLIC LICENSE\n                       Version 2.1, February 1999",
      "GNU LESSER GENERAL PUBLIC LICENSE\n                       Version 3, 29 June 2007"}},
    {"OpenCV",
     "opencv",
     true,
     {"OpenCV Foundation", "Apache License\n                           Version 2.0, January 2004"}},
    {"Boost",
     "boost",
     true,
     {"Boost project contributors", "Boost Software License - Version 1.0 - August 17th, 2003"}},
    {"Qwt", "qwt", false, {"Uwe Rathmann", "Qwt License", "exceptions:"}},
    {"NetCDF", "netcdf", true, {"University Corporation for Atmospheric Research", "Redistribution and use in source"}},
    {"Botan", "botan", false, {"The Botan Authors", "Redistribution and use in source and binary forms"}},
    {"HIDAPI",
     "hidapi",
     true,
     {"Alan Ott", "GNU GENERAL PUBLIC LICENSE\n                       Version 3, 29 June 2007"}},
    {"yaml-cpp", "yaml-cpp", true, {"Jesse Beder", "Permission is hereby granted, free of charge"}},
    {"pugixml", "pugixml", true, {"Arseny Kapoulkine", "Permission is hereby granted, free of charge"}},
};

class LicenceTest : public testing::TestWithParam<Licence> {
protected:
    /// What a person reads who chooses the library in the legal notice.
    [[nodiscard]] QString shownText() const {
        VortaQt::AboutDialog about({}, {}, {});
        QString text;
        ModalDriver boxes;
        boxes.then([this, &text](QWidget& box) {
            auto& list = find<QListWidget>(box, QStringLiteral("libraryList"));
            for (int row = 0; row < list.count(); ++row)
                if (list.item(row)->text() == QLatin1String(GetParam().shownAs))
                    list.setCurrentRow(row);
            text = find<QTextBrowser>(box, QStringLiteral("detailsBrowser")).toPlainText();
            find<QPushButton>(box, QStringLiteral("okButton")).click();
        });
        about.showLegalNotice();
        return text;
    }

    [[nodiscard]] QString resource() const {
        return QStringLiteral(":/text/resources/%1_license.txt").arg(QLatin1String(GetParam().name));
    }
};

TEST_P(LicenceTest, isThatOfTheLibrary) {
    const QString text = shownText();
    const QString copyright = collectedLicences().value(QLatin1String(GetParam().name));
    if (copyright.isEmpty()) {
        EXPECT_FALSE(GetParam().always) << "its package is named in packages.txt";
        EXPECT_EQ(text, QLatin1String("Resource not found: ") + resource());
        return;
    }
    EXPECT_TRUE(contentOf(resource()).contains(contentOf(copyright))) << "the package's words, whole";
    for (const char* phrase : GetParam().phrases)
        EXPECT_TRUE(text.contains(QLatin1String(phrase))) << phrase;
    EXPECT_FALSE(text.contains(QChar::ReplacementCharacter)) << "is UTF-8";
}

INSTANTIATE_TEST_SUITE_P(
    All, LicenceTest, testing::ValuesIn(licences), [](const testing::TestParamInfo<Licence>& licence) {
        return QString(QLatin1String(licence.param.shownAs)).remove(QLatin1Char('-')).toStdString();
    });

TEST(Licences, attachWhatTheyReferTo) {
    const QByteArray qt = contentOf(QStringLiteral(":/text/resources/qt_lgpl2.1_license.txt"));
    for (const char* name : {"LGPL-2.1", "LGPL-3", "GPL-2", "GPL-3", "Apache-2.0"})
        EXPECT_TRUE(qt.contains(contentOf(QLatin1String("/usr/share/common-licenses/") + QLatin1String(name)))) << name;
}

TEST(Licences, beginWithWhatHoldsForTheWholeLibrary) {
    const QByteArray boost = contentOf(QStringLiteral(":/text/resources/boost_license.txt"));
    EXPECT_LT(boost.indexOf("Boost Software License - Version 1.0"), 1000);
}

} // namespace
