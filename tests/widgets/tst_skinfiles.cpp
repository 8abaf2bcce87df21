#include "SkinImages.h"
#include "SkinStyle.h"

#include <QDirIterator>
#include <QFile>
#include <QImageReader>
#include <QRegularExpression>
#include <QSet>
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
};

void TestSkinFiles::picturesExist_data()
{
    QTest::addColumn<QString>("path");
    QTest::addColumn<QSize>("size");
    // Skin pictures are files beside the program; the others are compiled in.
    const QString skinDir = SkinStyle().skinDir();
    for (const auto& image : SkinImages::skin)
        QTest::newRow(image.path) << skinDir + QLatin1String(image.path) << QSize(image.width, image.height);
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

QTEST_MAIN(TestSkinFiles)
#include "tst_skinfiles.moc"
