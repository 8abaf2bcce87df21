#include <QLabel>
#include <QMimeData>
#include <QSignalSpy>
#include <QtTest>

#include "SingalConverterHome.h"
#include "VNStyleButton.h"

Q_DECLARE_METATYPE(QVector<QString>)

namespace {

// Answers the file dialogs with prepared results instead of showing them.
class ScriptedHome : public SingalConverterHome
{
public:
    QStringList filesAnswer;
    QString fileAnswer;
    int dialogsShown = 0;

    // Straight to the page's handlers: QApplication only passes drag and
    // drop events on while a real drag is under way.
    bool deliver(QEvent* event) { return SingalConverterHome::event(event); }

protected:
    QStringList chooseHeicFiles() override
    {
        ++dialogsShown;
        return filesAnswer;
    }
    QString chooseHeicFile() override
    {
        ++dialogsShown;
        return fileAnswer;
    }
};

QMimeData* urlData(const QStringList& paths)
{
    auto* data = new QMimeData;
    QList<QUrl> urls;
    for (const QString& path : paths)
        urls << QUrl::fromLocalFile(path);
    data->setUrls(urls);
    return data;
}

void drop(ScriptedHome* page, QMimeData* data)
{
    QDropEvent event(QPointF(500, 280), Qt::CopyAction, data, Qt::LeftButton, Qt::NoModifier);
    page->deliver(&event);
    delete data;
}

QStringList toList(const QVector<QString>& v)
{
    return QStringList(v.begin(), v.end());
}

} // namespace

class TestSingalConverterHome : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase() { qRegisterMetaType<QVector<QString>>(); }

    void dragEnterNeedsUriList_data();
    void dragEnterNeedsUriList();
    void singleDrop_data();
    void singleDrop();
    void batchDrop_data();
    void batchDrop();
    void emptyDropDoesNothing();
    void singleChooser_data();
    void singleChooser();
    void batchChooserPassesEverything_data();
    void batchChooserPassesEverything();
    void buttonOpensChooser();
    void textsAndSetters();
};

void TestSingalConverterHome::dragEnterNeedsUriList_data()
{
    QTest::addColumn<QString>("format");
    QTest::addColumn<bool>("accepted");
    QTest::newRow("uri list") << "text/uri-list" << true;
    QTest::newRow("plain text") << "text/plain" << false;
    QTest::newRow("image") << "image/png" << false;
}

void TestSingalConverterHome::dragEnterNeedsUriList()
{
    QFETCH(QString, format);
    QFETCH(bool, accepted);
    ScriptedHome page;
    QMimeData data;
    data.setData(format, "file:///tmp/a.HEIC\r\n");
    QDragEnterEvent event(QPoint(10, 10), Qt::CopyAction, &data, Qt::LeftButton, Qt::NoModifier);
    event.ignore();
    page.deliver(&event);
    QCOMPARE(event.isAccepted(), accepted);
}

void TestSingalConverterHome::singleDrop_data()
{
    QTest::addColumn<QStringList>("dropped");
    QTest::addColumn<QString>("previewed"); // empty: nothing emitted
    QTest::newRow("upper case") << QStringList{"/p/a.HEIC"} << "/p/a.HEIC";
    QTest::newRow("lower case") << QStringList{"/p/a.heic"} << "/p/a.heic";
    QTest::newRow("mixed case") << QStringList{"/p/a.Heic"} << "";
    QTest::newRow("jpeg") << QStringList{"/p/a.jpg"} << "";
    QTest::newRow("no extension") << QStringList{"/p/HEIC"} << "";
    QTest::newRow("first of three good")
        << QStringList{"/p/a.HEIC", "/p/b.jpg", "/p/c.heic"} << "/p/a.HEIC";
    QTest::newRow("first of three bad")
        << QStringList{"/p/a.png", "/p/b.HEIC", "/p/c.heic"} << "";
    QTest::newRow("spaces and unicode") << QStringList{"/p/Été 2023/IMG 1.HEIC"}
                                        << "/p/Été 2023/IMG 1.HEIC";
}

void TestSingalConverterHome::singleDrop()
{
    QFETCH(QStringList, dropped);
    QFETCH(QString, previewed);
    ScriptedHome page;
    page.setBatchMode(false);
    QSignalSpy preview(&page, &SingalConverterHome::signal_ToPreviewView);
    QSignalSpy batch(&page, &SingalConverterHome::signal_addHeicFile);

    drop(&page, urlData(dropped));

    QCOMPARE(batch.count(), 0);
    if (previewed.isEmpty()) {
        QCOMPARE(preview.count(), 0);
        QVERIFY(page.currentFile().isEmpty());
    } else {
        QCOMPARE(preview.count(), 1);
        QCOMPARE(preview.at(0).at(0).toString(), previewed);
        QCOMPARE(page.currentFile(), previewed);
    }
}

void TestSingalConverterHome::batchDrop_data()
{
    QTest::addColumn<QStringList>("dropped");
    QTest::addColumn<bool>("emitted");
    QTest::newRow("two upper case") << QStringList{"/p/a.HEIC", "/p/b.HEIC"} << true;
    QTest::newRow("upper and lower case") << QStringList{"/p/a.HEIC", "/p/b.heic"} << false;
    QTest::newRow("bad one in the middle")
        << QStringList{"/p/a.HEIC", "/p/b.jpg", "/p/c.HEIC"} << false;
    QTest::newRow("single lower case") << QStringList{"/p/a.heic"} << false;
    QTest::newRow("single upper case") << QStringList{"/p/a.HEIC"} << true;
}

void TestSingalConverterHome::batchDrop()
{
    QFETCH(QStringList, dropped);
    QFETCH(bool, emitted);
    ScriptedHome page;
    page.setBatchMode(true);
    QSignalSpy preview(&page, &SingalConverterHome::signal_ToPreviewView);
    QSignalSpy batch(&page, &SingalConverterHome::signal_addHeicFile);

    drop(&page, urlData(dropped));

    QCOMPARE(preview.count(), 0);
    QCOMPARE(batch.count(), emitted ? 1 : 0);
    if (emitted)
        QCOMPARE(toList(batch.at(0).at(0).value<QVector<QString>>()), dropped);
}

void TestSingalConverterHome::emptyDropDoesNothing()
{
    for (bool batchMode : {false, true}) {
        ScriptedHome page;
        page.setBatchMode(batchMode);
        QSignalSpy preview(&page, &SingalConverterHome::signal_ToPreviewView);
        QSignalSpy batch(&page, &SingalConverterHome::signal_addHeicFile);
        auto* data = new QMimeData;
        data->setText("/p/a.HEIC");
        drop(&page, data);
        drop(&page, urlData({}));
        QCOMPARE(preview.count() + batch.count(), 0);
    }
}

void TestSingalConverterHome::singleChooser_data()
{
    QTest::addColumn<QString>("answer");
    QTest::addColumn<bool>("emitted");
    QTest::newRow("upper case") << "/p/a.HEIC" << true;
    QTest::newRow("lower case is not taken here") << "/p/a.heic" << false;
    QTest::newRow("cancelled") << "" << false;
}

void TestSingalConverterHome::singleChooser()
{
    QFETCH(QString, answer);
    QFETCH(bool, emitted);
    ScriptedHome page;
    page.setBatchMode(false);
    page.fileAnswer = answer;
    QSignalSpy preview(&page, &SingalConverterHome::signal_ToPreviewView);
    QSignalSpy batch(&page, &SingalConverterHome::signal_addHeicFile);

    page.slot_SelectHEIC();

    QCOMPARE(page.dialogsShown, 1);
    QCOMPARE(batch.count(), 0);
    QCOMPARE(preview.count(), emitted ? 1 : 0);
    if (emitted)
        QCOMPARE(preview.at(0).at(0).toString(), answer);
}

void TestSingalConverterHome::batchChooserPassesEverything_data()
{
    QTest::addColumn<QStringList>("answer");
    QTest::newRow("cancelled") << QStringList{};
    QTest::newRow("mixed endings, in dialog order")
        << QStringList{"/p/b.HEIC", "/p/a.heic", "/p/typed by hand"};
}

void TestSingalConverterHome::batchChooserPassesEverything()
{
    QFETCH(QStringList, answer);
    ScriptedHome page;
    page.setBatchMode(true);
    page.filesAnswer = answer;
    QSignalSpy preview(&page, &SingalConverterHome::signal_ToPreviewView);
    QSignalSpy batch(&page, &SingalConverterHome::signal_addHeicFile);

    page.slot_SelectHEIC();

    QCOMPARE(preview.count(), 0);
    QCOMPARE(batch.count(), 1);
    QCOMPARE(toList(batch.at(0).at(0).value<QVector<QString>>()), answer);
}

void TestSingalConverterHome::buttonOpensChooser()
{
    ScriptedHome page;
    page.setBatchMode(false);
    page.fileAnswer = "/p/a.HEIC";
    page.show();
    QVERIFY(QTest::qWaitForWindowExposed(&page));
    QSignalSpy preview(&page, &SingalConverterHome::signal_ToPreviewView);

    auto* button = page.findChild<VNStyleButton*>("pushButton_SelectPhoto");
    QVERIFY(button);
    QTest::mouseClick(button, Qt::LeftButton);

    QCOMPARE(page.dialogsShown, 1);
    QCOMPARE(preview.count(), 1);
}

void TestSingalConverterHome::textsAndSetters()
{
    SingalConverterHome page;
    auto* selectTip = page.findChild<QLabel*>("label_SelectTip");
    auto* dropTip = page.findChild<QLabel*>("label_DropTip");
    QVERIFY(selectTip && dropTip);
    QCOMPARE(selectTip->text(), QString("Select A File"));
    QCOMPARE(dropTip->text(), QString("Or you can directly drop a HEIC file here."));
    QCOMPARE(page.size(), QSize(1000, 569));
    QVERIFY(page.acceptDrops());

    // What the main window does for the batch instance.
    page.setSelectTipText("Select Files");
    page.setDropTipText("Or you can directly drop the HEIC files here.");
    QCOMPARE(selectTip->text(), QString("Select Files"));
    QCOMPARE(dropTip->text(), QString("Or you can directly drop the HEIC files here."));
}

QTEST_MAIN(TestSingalConverterHome)
#include "tst_SingalConverterHome.moc"
