#include "AboutDlg.h"
#include "Platform.h"
#include "ProductInfo.h"
#include "VNAbout.h"
#include "VNStyleWidgetTitle.h"

#include <QApplication>
#include <QLabel>
#include <QTemporaryFile>
#include <QtTest>

class tst_AboutDialog : public QObject
{
    Q_OBJECT

private slots:
    void showsTheProgramsFacts();
    void fileVersionOnlyForTheRunningProgram();
    void titleBarClosesTheDialog();

private:
    static QString text(const QWidget& w, const char* name)
    {
        const QLabel* label = w.findChild<QLabel*>(QLatin1String(name));
        return label ? label->text() : QStringLiteral("<missing %1>").arg(QLatin1String(name));
    }
};

void tst_AboutDialog::showsTheProgramsFacts()
{
    VNAbout about;
    const AboutDlg* body = about.findChild<AboutDlg*>(QStringLiteral("widget_2"));
    QVERIFY(body);
    const VNStyleWidgetTitle* title = about.findChild<VNStyleWidgetTitle*>(QStringLiteral("widget"));
    QVERIFY(title);
    QCOMPARE(title->titleText(), QStringLiteral("About"));

    // This test is the running program, so it shows the build's version.
    QCOMPARE(text(*body, "LabelVersionText"), QStringLiteral(PICTOVA_TEST_VERSION));
    QCOMPARE(text(*body, "LabelNameText"), QStringLiteral("Vantora Pictova"));
    QCOMPARE(text(*body, "LabelVantoraName"), QStringLiteral("Vantora Pictova"));
    QCOMPARE(text(*body, "LabelCompanyText"), ProductInfo::companyName());
    QCOMPARE(text(*body, "LabelApplicationName"),
             QStringLiteral("Let you convert Apple's new iOS 11 photos from HEIC to JPG quickly."));
    QCOMPARE(text(*body, "LabelProjuctManagerTitle"), QStringLiteral("Product Manager:"));
    QVERIFY(!text(*body, "LabelAbout").isEmpty());

    // The logo comes from the Skin folder drawn by the build.
    const QLabel* logo = body->findChild<QLabel*>(QStringLiteral("label_logo_img"));
    QVERIFY(logo && !logo->pixmap(Qt::ReturnByValue).isNull());
}

void tst_AboutDialog::fileVersionOnlyForTheRunningProgram()
{
    QCOMPARE(Platform::fileVersion(QCoreApplication::applicationFilePath()),
             QStringLiteral(PICTOVA_TEST_VERSION));
    QTemporaryFile other;
    QVERIFY(other.open());
    QCOMPARE(Platform::fileVersion(other.fileName()), QString());
    QCOMPARE(Platform::fileVersion(other.fileName() + ".absent"), QString());
    QCOMPARE(Platform::fileVersion(QString()), QString());
}

void tst_AboutDialog::titleBarClosesTheDialog()
{
    VNAbout about;
    about.show();
    QVERIFY(QTest::qWaitForWindowExposed(&about));
    auto* title = about.findChild<VNStyleWidgetTitle*>(QStringLiteral("widget"));
    QVERIFY(title);
    title->slot_Close();
    QVERIFY(!about.isVisible());
}

QTEST_MAIN(tst_AboutDialog)
#include "tst_AboutDialog.moc"
