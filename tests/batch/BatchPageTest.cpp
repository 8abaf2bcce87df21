// The batch page without a run: which rows are listed and ticked, what
// Delete and Clear remove, the settings and progress dialogs' questions,
// and the count texts a person reads at the end.
#include "TestSandbox.h"
#include "SavedChoices.h"
#include "TestableFileTable.h"

#include "BatchConvertProgress.h"
#include "BatchRules.h"
#include "ConvertsionSet.h"
#include "VNStyleButton.h"
#include "VNStyleCheckBox.h"
#include "VNStyleWidgetTitle.h"

#include <QCheckBox>
#include <QLabel>
#include <QPushButton>
#include <QSignalSpy>
#include <QTableWidget>
#include <QWindow>

namespace {

const qint64 kMiB = 1024 * 1024;

// The page's widgets, found the way a user sees them: by their form names.
struct PageView
{
    explicit PageView(HeicFileTable* page)
        : table(page->findChild<QTableWidget*>("tableWidget"))
        , size(page->findChild<QLabel*>("label_FileSize"))
        , convert(page->findChild<QPushButton*>("pushButton_Convert"))
        , selectAll(page->findChildren<VNStyleCheckBox*>(QString(), Qt::FindDirectChildrenOnly).value(0))
    {
    }

    // A user's click on a box: state change and click, as Qt delivers them.
    void click(VNStyleCheckBox* box) const { box->findChild<QCheckBox*>()->click(); }
    void tick(int row) const { click(qobject_cast<VNStyleCheckBox*>(table->cellWidget(row, 0))); }

    QTableWidget* table;
    QLabel* size;
    QPushButton* convert;
    VNStyleCheckBox* selectAll;
};

// Answers a yes-or-no tip the way a person does: "Yes", or the "No" button.
int answer(QDialog* tip, bool yes)
{
    tip->findChild<QPushButton*>(yes ? "pushButton_Yes" : "pushButton_OK")->click();
    return yes ? QDialog::Accepted : QDialog::Rejected;
}

class TestableSettings : public ConvertsionSet
{
public:
    using ConvertsionSet::ConvertsionSet;
    QString folder;
    int asked = 0;

protected:
    QString chooseFolder() override
    {
        ++asked;
        return folder;
    }
};

class TestableProgress : public BatchConvertProgress
{
public:
    using BatchConvertProgress::BatchConvertProgress;
    bool yes = false;
    QList<QDialog*> shown;

protected:
    int runModal(QDialog* dialog) override
    {
        shown.append(dialog);
        return answer(dialog, yes);
    }
};

} // namespace

class BatchPageTest : public QObject
{
    Q_OBJECT

    QTemporaryDir* m_dir = nullptr;
    TestableFileTable* m_page = nullptr;

    QString makeFile(const QString& name, qint64 bytes)
    {
        const QString path = m_dir->filePath(name);
        QFile file(path);
        if (!file.open(QIODevice::WriteOnly) || !file.resize(bytes))
            qFatal("cannot make %s", qPrintable(path));
        return path;
    }

    void add(const QStringList& paths)
    {
        m_page->nextChoice = paths;
        m_page->slot_AddItem();
    }

    void untickAll(const PageView& v)
    {
        if (v.selectAll->checkState() != Qt::Checked)
            v.click(v.selectAll); // none or some -> all
        v.click(v.selectAll);     // all -> none
        QVERIFY(m_page->tickedRows().isEmpty());
    }

private slots:
    void init()
    {
        SavedChoices::forget();
        m_dir = new QTemporaryDir;
        QVERIFY(m_dir->isValid());
        m_page = new TestableFileTable;
    }

    void cleanup()
    {
        delete m_page;
        delete m_dir;
    }

    void addingTicksNewRowsOnce()
    {
        PageView v(m_page);
        const QString a = makeFile("IMG_0001.HEIC", 2516582);
        add({a, m_dir->filePath("gone.HEIC")});
        QCOMPARE(v.table->item(0, 3)->text(), a); // the full path, not only the folder
        // A vanished path takes no row; a new row comes ticked, ready to convert.
        QCOMPARE(v.table->rowCount(), 1);
        QCOMPARE(m_page->tickedRows(), (QList<int>{0}));
        QVERIFY(v.convert->isEnabled());

        // A second add keeps the ticks it found and lists a known path once.
        add({makeFile("b.heic", kMiB / 2), a, m_dir->path() + "/./IMG_0001.HEIC"});
        QCOMPARE(v.table->rowCount(), 2);
        QCOMPARE(m_page->tickedRows(), (QList<int>{0, 1}));
        QCOMPARE(v.size->text(), QStringLiteral("2.9MB"));
        // The chooser opens where the last photo was found.
        add({});
        QCOMPARE(m_page->askedStartLocations.last(), m_dir->path());
        // A hand-over from the drop page behaves the same.
        QCOMPARE(m_page->addFiles({makeFile("c.HEIC", 10), a}), 1);
        QCOMPARE(m_page->tickedRows(), (QList<int>{0, 1, 2}));
    }

    void tickingAndSelectAll()
    {
        PageView v(m_page);
        add({makeFile("0.HEIC", 10), makeFile("1.HEIC", 10), makeFile("2.HEIC", 10)});
        QCOMPARE(v.selectAll->checkState(), Qt::Checked);
        untickAll(v);
        QVERIFY(!v.convert->isEnabled());
        v.tick(2);
        QCOMPARE(v.selectAll->checkState(), Qt::PartiallyChecked);
        QVERIFY(v.convert->isEnabled());
        v.tick(0);
        v.tick(1);
        QCOMPARE(m_page->tickedRows(), (QList<int>{2, 0, 1}));
        QCOMPARE(v.selectAll->checkState(), Qt::Checked);
        v.tick(0); // untick
        QCOMPARE(m_page->tickedRows(), (QList<int>{2, 1}));
        // Partial -> all: rows already ticked keep their place, every row once.
        v.click(v.selectAll);
        QCOMPARE(m_page->tickedRows(), (QList<int>{2, 1, 0}));
    }

    void deleteRemovesExactlyTheTickedRows_data()
    {
        QTest::addColumn<QList<int>>("tickOrder");
        QTest::addColumn<QStringList>("left");
        QTest::newRow("0 then 1") << QList<int>{0, 1} << QStringList{"f2", "f3", "f4"};
        QTest::newRow("3 then 1") << QList<int>{3, 1} << QStringList{"f0", "f2", "f4"};
        QTest::newRow("last and first") << QList<int>{4, 0} << QStringList{"f1", "f2", "f3"};
        QTest::newRow("nothing ticked") << QList<int>{} << QStringList{"f0", "f1", "f2", "f3", "f4"};
    }

    void deleteRemovesExactlyTheTickedRows()
    {
        QFETCH(QList<int>, tickOrder);
        QFETCH(QStringList, left);
        PageView v(m_page);
        QStringList paths;
        for (int i = 0; i < 5; ++i)
            paths << makeFile(QString("f%1").arg(i), kMiB);
        add(paths);
        untickAll(v);
        for (int row : tickOrder)
            v.tick(row);
        m_page->slot_DeleteTableItem();

        QStringList names;
        for (int row = 0; row < v.table->rowCount(); ++row)
            names << v.table->item(row, 1)->text();
        QCOMPARE(names, left);
        QCOMPARE(m_page->files().size(), left.size());
        QVERIFY(m_page->tickedRows().isEmpty());
        QCOMPARE(v.size->text(), QString("%1.0MB").arg(left.size()));
        // The new boxes report their own rows.
        v.tick(left.size() - 1);
        QCOMPARE(m_page->tickedRows(), (QList<int>{left.size() - 1}));
    }

    void vanishedFileIsMarkedAndCanBeRemoved()
    {
        PageView v(m_page);
        const QString a = makeFile("a.HEIC", kMiB);
        const QString b = makeFile("b.HEIC", kMiB);
        add({a, b});
        QVERIFY(QFile::remove(b));
        // Coming back to the window looks at the disk again.
        QEvent activate(QEvent::WindowActivate);
        QCoreApplication::sendEvent(m_page, &activate);
        QVERIFY(!m_page->isMissing(0) && m_page->isMissing(1));
        QCOMPARE(v.size->text(), QStringLiteral("1.0MB"));
        untickAll(v);
        v.tick(1);
        m_page->slot_DeleteTableItem();
        QCOMPARE(m_page->files().size(), 1);
        QCOMPARE(v.table->item(0, 3)->text(), a);
    }

    void clearAsksAndEmptiesEverything()
    {
        PageView v(m_page);
        add({makeFile("a.HEIC", kMiB), makeFile("b.HEIC", kMiB)});
        m_page->onModal = [](QDialog* tip) { return answer(tip, false); };
        m_page->slot_ClearTableView();
        QCOMPARE(m_page->files().size(), 2);
        m_page->onModal = [](QDialog* tip) { return answer(tip, true); };
        m_page->slot_ClearTableView();
        m_page->onModal = nullptr;
        QVERIFY(m_page->files().isEmpty() && m_page->tickedRows().isEmpty());
        QCOMPARE(v.table->rowCount(), 0);
        QVERIFY(!v.convert->isEnabled());
        // The table works as new afterwards.
        QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
        add({makeFile("c.HEIC", kMiB)});
        QCOMPARE(m_page->tickedRows(), (QList<int>{0}));
        QCOMPARE(v.selectAll->checkState(), Qt::Checked);
    }

    void cancelledFolderChoiceChangesNothing()
    {
        TestableSettings dialog(nullptr);
        QSignalSpy path(&dialog, &ConvertsionSet::signal_SendSavePath);
        auto* choose = dialog.findChild<QPushButton*>("pushButton_OpenFolder");
        choose->click();
        QCOMPARE(dialog.asked, 1);
        QCOMPARE(path.size(), 0);
        dialog.folder = QStringLiteral("/data/Pictures");
        choose->click();
        QCOMPARE(path.size(), 1);
        QCOMPARE(path.at(0).at(0).toString(), QStringLiteral("/data/Pictures"));
    }

    void cancelAsksFirst()
    {
        TestableProgress dialog(nullptr);
        dialog.show();
        QSignalSpy cancel(&dialog, &BatchConvertProgress::signal_CancelConvert);
        auto* cancelButton = dialog.findChild<QPushButton*>("pushButton_Cancel");
        cancelButton->click();
        cancelButton->click();
        QCOMPARE(cancel.size(), 0);
        QCOMPARE(dialog.shown.at(0), dialog.shown.at(1)); // "No" keeps the same tip
        QVERIFY(dialog.isVisible());

        dialog.yes = true;
        cancelButton->click();
        QCOMPARE(cancel.size(), 1);
        // A confirmed tip is gone; asking again makes a new one.
        QPointer<QDialog> first = dialog.shown.at(0);
        QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
        QVERIFY(first.isNull());
        dialog.slot_isCancelView();
        QCOMPARE(cancel.size(), 2);
    }

    void everyWayOutAsks()
    {
        // While running, the title bar's close, Escape and the window manager's
        // close (Alt+F4) ask before cancelling; once finished there is
        // nothing to cancel and closing just closes.
        TestableProgress dialog(nullptr);
        dialog.show();
        QSignalSpy cancel(&dialog, &BatchConvertProgress::signal_CancelConvert);
        dialog.findChild<VNStyleWidgetTitle*>("widget")->closeButton()->click();
        QTest::keyClick(&dialog, Qt::Key_Escape);
        QVERIFY(QTest::qWaitForWindowExposed(&dialog));
        dialog.windowHandle()->close(); // what the window system sends
        QTRY_COMPARE(dialog.shown.size(), 3);
        QVERIFY(dialog.isVisible());

        dialog.setFinished(3);
        dialog.findChild<VNStyleWidgetTitle*>("widget")->closeButton()->click();
        QCOMPARE(dialog.shown.size(), 3);
        QCOMPARE(cancel.size(), 0);
        QVERIFY(!dialog.isVisible());
    }

    void countTexts_data()
    {
        // What a person reads at the end of a run: one file, and from two on.
        QTest::addColumn<int>("count");
        QTest::addColumn<QString>("finished");
        QTest::addColumn<QString>("failed");
        QTest::addColumn<QString>("cancelled");
        QTest::newRow("none") << 0 << "" << "" << "Saved in /p";
        QTest::newRow("one") << 1 << "1 file have been successfully converted!" << "1 file could not be converted:"
                             << "Saved in /p; 1 file failed";
        QTest::newRow("two") << 2 << "2 files have been successfully converted!" << "2 files could not be converted:"
                             << "Saved in /p; 2 files failed";
        QTest::newRow("many") << 31 << "31 files have been successfully converted!"
                              << "31 files could not be converted:" << "Saved in /p; 31 files failed";
    }

    void countTexts()
    {
        QFETCH(int, count);
        QFETCH(QString, finished);
        QFETCH(QString, failed);
        QFETCH(QString, cancelled);
        QCOMPARE(BatchRules::finishedText(count), finished);
        QCOMPARE(BatchRules::failedText(count), failed);
        QCOMPARE(BatchRules::cancelDetailText(count, "/p"), QDir::toNativeSeparators(cancelled));
    }

    void progressNeverDividesByZero()
    {
        QCOMPARE(BatchRules::progressPercent(1, 3), 33);
        QCOMPARE(BatchRules::progressPercent(3, 3), 100);
        QCOMPARE(BatchRules::progressPercent(2, 0), 0);
    }
};

PICTOVA_TEST_MAIN(BatchPageTest)
#include "BatchPageTest.moc"
