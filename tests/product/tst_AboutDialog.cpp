#include "TestSandbox.h"
#include "AboutDlg.h"
#include "Platform.h"
#include "VNAbout.h"

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
    // This test is the running program, so it shows the build's version.
    QCOMPARE(text(*body, "LabelVersionText"), QStringLiteral(PICTOVA_TEST_VERSION));
    QCOMPARE(text(*body, "LabelNameText"), QStringLiteral("Vantora Pictova"));

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

PICTOVA_TEST_MAIN(tst_AboutDialog)
#include "tst_AboutDialog.moc"
