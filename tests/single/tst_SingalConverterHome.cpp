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

    // The single page previews the first path only if it ends in ".HEIC" or
    // ".heic"; the batch page takes the lot only if every path ends in ".HEIC".
    void dropRules_data()
    {
        QTest::addColumn<bool>("batchMode");
        QTest::addColumn<QStringList>("dropped");
        QTest::addColumn<QStringList>("taken"); // previewed (single) or added (batch)
        QTest::addColumn<int>("leftOut");
        auto row = [](const char* name, bool batch, QStringList dropped, QStringList taken, int leftOut) {
            QTest::newRow(name) << batch << dropped << taken << leftOut;
        };
        row("single: every HEIF ending, any case", false, {"/p/a.Heic"}, {"/p/a.Heic"}, 0);
        row("single: camera .HIF", false, {"/p/DSC1.HIF"}, {"/p/DSC1.HIF"}, 0);
        row("single: first photo of a mixed drop", false, {"/p/a.png", "/p/b.heif", "/p/c.heic"},
            {"/p/b.heif"}, 0);
        row("single: nothing to take", false, {"/p/a.jpg"}, {}, 1);
        row("single: no urls", false, {}, {}, 0);
        row("batch: photos kept, others counted", true,
            {"/p/a.HEIC", "/p/b.jpg", "/p/c.heic", "/p/d.hif", "/p/e"},
            {"/p/a.HEIC", "/p/c.heic", "/p/d.hif"}, 2);
        row("batch: nothing to take", true, {"/p/b.jpg"}, {}, 1);
    }

    void dropRules()
    {
        QFETCH(bool, batchMode);
        QFETCH(QStringList, dropped);
        QFETCH(QStringList, taken);
        QFETCH(int, leftOut);
        ScriptedHome page;
        page.setBatchMode(batchMode);
        QSignalSpy preview(&page, &SingalConverterHome::signal_ToPreviewView);
        QSignalSpy batch(&page, &SingalConverterHome::signal_addHeicFile);
        QSignalSpy told(&page, &SingalConverterHome::signal_FilesLeftOut);

        // Text without urls first: never taken for a path.
        auto* text = new QMimeData;
        text->setText("/p/a.HEIC");
        drop(&page, text);
        drop(&page, urlData(dropped));

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

    // The single chooser previews only ".HEIC"; the batch chooser hands over
    // whatever the dialog gave, even nothing.
    void chooserRules_data()
    {
        QTest::addColumn<bool>("batchMode");
        QTest::addColumn<QStringList>("answer");
        QTest::addColumn<int>("previews");
        QTest::addColumn<int>("batches");
        QTest::newRow("single: upper case") << false << QStringList{"/p/a.HEIC"} << 1 << 0;
        QTest::newRow("single: lower case") << false << QStringList{"/p/a.heic"} << 1 << 0;
        QTest::newRow("single: cancelled") << false << QStringList{} << 0 << 0;
        QTest::newRow("batch: cancelled") << true << QStringList{} << 0 << 1;
        QTest::newRow("batch: mixed endings, in dialog order")
            << true << QStringList{"/p/b.HEIC", "/p/a.heic", "/p/typed by hand"} << 0 << 1;
    }

    void chooserRules()
    {
        QFETCH(bool, batchMode);
        QFETCH(QStringList, answer);
        QFETCH(int, previews);
        QFETCH(int, batches);
        ScriptedHome page;
        page.setBatchMode(batchMode);
        page.filesAnswer = answer;
        page.fileAnswer = answer.value(0);
        QSignalSpy preview(&page, &SingalConverterHome::signal_ToPreviewView);
        QSignalSpy batch(&page, &SingalConverterHome::signal_addHeicFile);

        page.slot_SelectHEIC();

        QCOMPARE(page.dialogsShown, 1);
        QCOMPARE(preview.count(), previews);
        if (previews)
            QCOMPARE(preview.at(0).at(0).toString(), answer.first());
        QCOMPARE(batch.count(), batches);
        if (batches)
            QCOMPARE(toList(batch.at(0).at(0).value<QVector<QString>>()), answer);
    }
};

PICTOVA_TEST_MAIN(TestSingalConverterHome)
#include "tst_SingalConverterHome.moc"
