#include "TestSandbox.h"
#include <QMimeData>
#include <QSignalSpy>
#include <QTimer>
#include <QtTest>

#include "SingalConverterHome.h"

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
        urls << (path.startsWith("https:") ? QUrl(path) : QUrl::fromLocalFile(path));
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

    // What the drop page hands on, from a drop or from its chooser: the
    // single page the first photo, the batch page every photo (and how many
    // other files a drop left out). The chooser's own filter picks photos,
    // so what it gives is handed on as it is.
    void photosHandedOn_data()
    {
        QTest::addColumn<bool>("batchMode");
        QTest::addColumn<bool>("chooser");
        QTest::addColumn<QStringList>("given");
        QTest::addColumn<QStringList>("taken"); // previewed (single) or added (batch)
        QTest::addColumn<int>("leftOut");
        auto row = [](const char* name, bool batch, bool chooser, QStringList given, QStringList taken, int leftOut) {
            QTest::newRow(name) << batch << chooser << given << taken << leftOut;
        };
        row("single: every HEIF ending, any case", false, false, {"/p/a.Heic"}, {"/p/a.Heic"}, 0);
        row("single: camera .HIF", false, false, {"/p/DSC1.HIF"}, {"/p/DSC1.HIF"}, 0);
        // The others are named: the photo after the first and the picture.
        row("single: first photo of a mixed drop", false, false, {"/p/a.png", "/p/b.heif", "/p/c.heic"}, {"/p/b.heif"}, 2);
        row("single: nothing to take", false, false, {"/p/a.jpg"}, {}, 1);
        row("single: no urls", false, false, {}, {}, 0);
        // The batch page hands on files and folders alike; the list sorts
        // them out. Only what is no local file stops here.
        row("batch: every local path handed on", true, false, {"/p/a.HEIC", "/p/b.jpg", "/p/folder"},
            {"/p/a.HEIC", "/p/b.jpg", "/p/folder"}, 0);
        row("batch: web addresses left out", true, false, {"/p/a.heic", "https://example.org/b.heic"}, {"/p/a.heic"}, 1);
        row("single chooser", false, true, {"/p/a.heic"}, {"/p/a.heic"}, 0);
        row("single chooser, cancelled", false, true, {}, {}, 0);
        row("batch chooser, in dialog order", true, true, {"/p/b.HEIC", "/p/a.heic", "/p/typed by hand"},
            {"/p/b.HEIC", "/p/a.heic", "/p/typed by hand"}, 0);
    }

    void photosHandedOn()
    {
        QFETCH(bool, batchMode);
        QFETCH(bool, chooser);
        QFETCH(QStringList, given);
        QFETCH(QStringList, taken);
        QFETCH(int, leftOut);
        ScriptedHome page;
        page.setBatchMode(batchMode);
        QSignalSpy preview(&page, &SingalConverterHome::signal_ToPreviewView);
        QSignalSpy batch(&page, &SingalConverterHome::signal_addHeicFile);
        QSignalSpy told(&page, &SingalConverterHome::signal_FilesLeftOut);
        if (chooser) {
            page.filesAnswer = given;
            page.fileAnswer = given.value(0);
            page.slot_SelectHEIC();
            QCOMPARE(page.dialogsShown, 1);
        } else {
            // Text without urls first: never taken for a path.
            auto* text = new QMimeData;
            text->setText("/p/a.HEIC");
            drop(&page, text);
            drop(&page, urlData(given));
        }
        QStringList got;
        for (const QList<QVariant>& call : preview)
            got << call.at(0).toString();
        for (const QList<QVariant>& call : batch)
            got << toList(call.at(0).value<QVector<QString>>());
        QCOMPARE(got, taken);
        QCOMPARE(told.isEmpty() ? 0 : told.at(0).at(0).toInt(), leftOut);
        // The note about left-out files is shown after the drop; answer it.
        QTimer::singleShot(50, [] {
            if (QWidget* box = QApplication::activeModalWidget())
                box->close();
        });
        QTest::qWait(leftOut ? 100 : 0);
    }
};

PICTOVA_TEST_MAIN(TestSingalConverterHome)
#include "tst_SingalConverterHome.moc"
