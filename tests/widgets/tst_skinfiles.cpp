#include "TestSandbox.h"
#include "SkinImages.h"
#include "SkinStyle.h"

#include <QDirIterator>
#include <QFile>
#include <QImageReader>
#include <QRegularExpression>
#include <QSet>
#include <QTemporaryDir>
#include <QtTest>

// Every picture the program can ask for must be there after the build, at
// the size its layout shows it; and every picture the sources name must be
// on the list, so a new screen cannot ask for one that nobody draws.
class TestSkinFiles : public QObject
{
    Q_OBJECT

private slots:
    void picturesExist_data();
    void picturesExist();
    void everyPathInTheSourcesIsListed();
    void highDpiScreensGetTheSharpCopy();
};

void TestSkinFiles::highDpiScreensGetTheSharpCopy()
{
    const QString file = SkinStyle().skinDir() + QStringLiteral("/Button/close_icon_normal.png");
    for (qreal ratio : {1.0, 1.5, 2.0}) {
        const QPixmap picture = SkinStyle::pixmap(file, ratio);
        // Shown at the same size on every screen, with twice the pixels above 1.
        QCOMPARE(picture.size() / picture.devicePixelRatio(), QSizeF(18, 18));
        QCOMPARE(picture.devicePixelRatio(), ratio > 1.0 ? 2.0 : 1.0);
    }
    // A picture without a sharp copy is still shown.
    QTemporaryDir dir;
    QImage plain(4, 4, QImage::Format_RGB32);
    plain.fill(Qt::red);
    QVERIFY(plain.save(dir.filePath("plain.png")));
    QCOMPARE(SkinStyle::pixmap(dir.filePath("plain.png"), 2.0).size(), QSize(4, 4));
}

void TestSkinFiles::picturesExist_data()
{
    QTest::addColumn<QString>("path");
    QTest::addColumn<QSize>("size");
    // Skin pictures are files beside the program, each with its high-DPI copy
    // at twice the pixels; the others are compiled in.
    const QString skinDir = SkinStyle().skinDir();
    for (const auto& image : SkinImages::skin) {
        const QString file = skinDir + QLatin1String(image.path);
        const QSize size(image.width, image.height);
        QTest::newRow(image.path) << file << size;
        QTest::newRow(qPrintable(QLatin1String(image.path) + "@2x"))
            << SkinImages::highDpiFileName(file) << size * 2;
    }
    for (const auto& image : SkinImages::resources)
        QTest::newRow(image.path) << QString::fromLatin1(image.path) << QSize(image.width, image.height);
}

void TestSkinFiles::picturesExist()
{
    QFETCH(QString, path);
    QFETCH(QSize, size);
    const SkinStyle style; // registers the compiled-in pictures
    QImageReader reader(path);
    const QImage image = reader.read();
    QVERIFY2(!image.isNull(), qPrintable(path + ": " + reader.errorString()));
    QCOMPARE(image.size(), size);
}

void TestSkinFiles::everyPathInTheSourcesIsListed()
{
    QSet<QString> listed;
    for (const auto& image : SkinImages::skin)
        listed.insert(QString::fromLatin1(image.path));
    for (const auto& image : SkinImages::resources)
        listed.insert(QString::fromLatin1(image.path));

    // Skin paths are written "/Button/x.png" (or "Button/x.png" after a
    // "/Skin/" prefix); compiled-in ones ":/..." in code and in style sheets.
    const QRegularExpression skinPath(
        QStringLiteral("\"/?((?:Button|Label|main|CheckBox|Application)/[A-Za-z0-9_]+\\.(?:png|jpg)|ok_105_21_\\d\\.png)\""));
    const QRegularExpression resourcePath(QStringLiteral(":/[A-Za-z0-9_/]+\\.(?:png|jpg)"));

    const QString root = QStringLiteral(PICTOVA_SOURCE_DIR);
    int files = 0;
    QStringList missing;
    for (const char* folder : {"widgets", "app", "single", "batch", "product"}) {
        QDirIterator it(root + "/" + folder, {"*.cpp", "*.h", "*.ui"}, QDir::Files, QDirIterator::Subdirectories);
        while (it.hasNext()) {
            const QString file = it.next();
            if (file.contains(QLatin1String("/gallery/")))
                continue;
            QFile f(file);
            QVERIFY(f.open(QIODevice::ReadOnly));
            const QString text = QString::fromUtf8(f.readAll());
            ++files;
            for (auto m = skinPath.globalMatch(text); m.hasNext();) {
                const QString path = "/" + m.next().captured(1);
                if (!listed.contains(path))
                    missing << file.mid(root.size() + 1) + ": " + path;
            }
            for (auto m = resourcePath.globalMatch(text); m.hasNext();) {
                const QString path = m.next().captured(0);
                if (!listed.contains(path))
                    missing << file.mid(root.size() + 1) + ": " + path;
            }
        }
    }
    QVERIFY(files > 10);
    QVERIFY2(missing.isEmpty(), qPrintable("not in widgets/SkinImages.h:\n" + missing.join('\n')));
}

PICTOVA_TEST_MAIN(TestSkinFiles)
#include "tst_skinfiles.moc"
