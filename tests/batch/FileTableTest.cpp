#include "TestSandbox.h"
#include "TestableFileTable.h"

#include "TipDialog.h"
#include "VNStyleCheckBox.h"

#include <QCheckBox>
#include <QLabel>
#include <QPushButton>
#include <QTableWidget>
#include <QTemporaryDir>

namespace {

const qint64 kMiB = 1024 * 1024;

// The page's widgets, found the way a user sees them: by their form names.
struct PageView
{
    explicit PageView(HeicFileTable* page)
        : table(page->findChild<QTableWidget*>("tableWidget"))
        , count(page->findChild<QLabel*>("label_FileCount"))
        , size(page->findChild<QLabel*>("label_FileSize"))
        , convert(page->findChild<QPushButton*>("pushButton_Convert"))
        , remove(page->findChild<QPushButton*>("pushButton_Delete"))
        , clear(page->findChild<QPushButton*>("pushButton_Clear"))
    {
        const auto direct = page->findChildren<VNStyleCheckBox*>(QString(), Qt::FindDirectChildrenOnly);
        selectAll = direct.value(0);
    }

    VNStyleCheckBox* rowBox(int row) const
    {
        return qobject_cast<VNStyleCheckBox*>(table->cellWidget(row, 0));
    }
    // A user's click on a box: state change and click, as Qt delivers them.
    void click(VNStyleCheckBox* box) const { box->findChild<QCheckBox*>()->click(); }
    void tick(int row) const { click(rowBox(row)); }

    QTableWidget* table;
    QLabel* count;
    QLabel* size;
    QPushButton* convert;
    QPushButton* remove;
    QPushButton* clear;
    VNStyleCheckBox* selectAll = nullptr;
};

} // namespace

class FileTableTest : public QObject
{
    Q_OBJECT

private slots:
    void init()
    {
        m_dir = new QTemporaryDir;
        QVERIFY(m_dir->isValid());
        m_page = new TestableFileTable;
    }

    void cleanup()
    {
        delete m_page;
        m_page = nullptr;
        delete m_dir;
        m_dir = nullptr;
    }

    void addingTicksNewRowsOnce()
    {
        PageView v(m_page);
        const QString a = makeFile("IMG_0001.HEIC", 2516582);
        const QString gone = m_dir->filePath("gone.HEIC");
        addThroughDialog({a, gone});
        QCOMPARE(v.table->item(0, 3)->text(), a); // the full path, not only the folder
        // A vanished path takes no row; a new row comes ticked, ready to convert.
        QCOMPARE(v.table->rowCount(), 1);
        QCOMPARE(m_page->tickedRows(), (QList<int>{0}));
        QVERIFY(v.convert->isEnabled());

        // A second add keeps the ticks it found and lists a known path once.
        const QString b = makeFile("b.heic", kMiB / 2);
        addThroughDialog({b, a, m_dir->path() + "/./IMG_0001.HEIC"});
        QCOMPARE(v.table->rowCount(), 2);
        QCOMPARE(m_page->tickedRows(), (QList<int>{0, 1}));
        QCOMPARE(v.rowBox(0)->checkState(), Qt::Checked);
        QCOMPARE(v.size->text(), QStringLiteral("2.9MB"));
        // The chooser opens where the last photo was found.
        addThroughDialog({});
        QCOMPARE(m_page->askedStartLocations.last(), m_dir->path());

        // A hand-over from the drop page behaves the same.
        QCOMPARE(m_page->addFiles({makeFile("c.HEIC", 10), a}), 1);
        QCOMPARE(m_page->tickedRows(), (QList<int>{0, 1, 2}));
    }

    void tickingAndSelectAll()
    {
        PageView v(m_page);
        addThroughDialog({makeFile("0.HEIC", 10), makeFile("1.HEIC", 10), makeFile("2.HEIC", 10)});
        QCOMPARE(v.selectAll->checkState(), Qt::Checked);
        untickAll(v);
        QVERIFY(!v.convert->isEnabled());
        QVERIFY(!v.remove->isEnabled());

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
        addThroughDialog(paths);
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
        addThroughDialog({a, b});
        QVERIFY(QFile::remove(b));
        // Coming back to the window looks at the disk again.
        QEvent activate(QEvent::WindowActivate);
        QCoreApplication::sendEvent(m_page, &activate);
        QVERIFY(!m_page->isMissing(0));
        QVERIFY(m_page->isMissing(1));
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
        addThroughDialog({makeFile("a.HEIC", kMiB), makeFile("b.HEIC", kMiB)});

        clearAnswering(false);
        QCOMPARE(m_page->files().size(), 2);

        clearAnswering(true);
        QVERIFY(m_page->files().isEmpty());
        QVERIFY(m_page->tickedRows().isEmpty());
        QCOMPARE(v.table->rowCount(), 0);
        QVERIFY(!v.convert->isEnabled());
        QVERIFY(!v.clear->isEnabled());

        // The table works as new afterwards.
        QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
        addThroughDialog({makeFile("c.HEIC", kMiB)});
        QCOMPARE(m_page->tickedRows(), (QList<int>{0}));
        QCOMPARE(v.selectAll->checkState(), Qt::Checked);
    }

private:
    QString makeFile(const QString& name, qint64 bytes)
    {
        const QString path = m_dir->filePath(name);
        QFile file(path);
        if (!file.open(QIODevice::WriteOnly) || !file.resize(bytes))
            qFatal("cannot make %s", qPrintable(path));
        return path;
    }

    void addThroughDialog(const QStringList& paths)
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

    // Answers the clear question with Yes or No.

    void clearAnswering(bool yes)
    {
        m_page->onModal = [&](QDialog* dialog) {
            dialog->findChild<QPushButton*>(yes ? "pushButton_Yes" : "pushButton_OK")->click();
            return int(yes ? QDialog::Accepted : QDialog::Rejected);
        };
        m_page->slot_ClearTableView();
        m_page->onModal = nullptr;
    }

    QTemporaryDir* m_dir = nullptr;
    TestableFileTable* m_page = nullptr;
};

PICTOVA_TEST_MAIN(FileTableTest)
#include "FileTableTest.moc"
