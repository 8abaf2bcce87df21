#include "BatchTestEnvironment.h"
#include "TestableFileTable.h"

#include "TipDialog.h"
#include "VNStyleCheckBox.h"

#include <QCheckBox>
#include <QHeaderView>
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
    void init();
    void cleanup();

    void startsEmptyWithConvertDisabled();
    void addsThroughTheDialog();
    void addedRowsShowNameSizeAndPath();
    void duplicatesAndVanishedChoices();
    void tickingFollowsTheRowsOnTheSelectAllBox();
    void selectAllTicksAndUnticksEveryRow();
    void selectAllNeverStopsOnPartial();
    void deleteRemovesFromTheRowTickedFirst_data();
    void deleteRemovesFromTheRowTickedFirst();
    void deleteOfDuplicatesRemovesBothRows();
    void clearAsksAndEmptiesEverything();
    void declinedClearChangesNothing();
    void addFilesFromTheMainWindow();
    void vanishedFileLeavesItsRowEmpty();

private:
    QString makeFile(const QString& name, qint64 bytes);
    void addThroughDialog(const QStringList& paths);

    QTemporaryDir* m_dir = nullptr;
    TestableFileTable* m_page = nullptr;
};

QString FileTableTest::makeFile(const QString& name, qint64 bytes)
{
    const QString path = m_dir->filePath(name);
    QFile file(path);
    if (!file.open(QIODevice::WriteOnly) || !file.resize(bytes))
        qFatal("cannot make %s", qPrintable(path));
    return path;
}

void FileTableTest::addThroughDialog(const QStringList& paths)
{
    m_page->nextChoice = paths;
    m_page->slot_AddItem();
}

void FileTableTest::init()
{
    m_dir = new QTemporaryDir;
    QVERIFY(m_dir->isValid());
    m_page = new TestableFileTable;
}

void FileTableTest::cleanup()
{
    delete m_page;
    m_page = nullptr;
    delete m_dir;
    m_dir = nullptr;
}

void FileTableTest::startsEmptyWithConvertDisabled()
{
    PageView v(m_page);
    QVERIFY(v.table && v.count && v.size && v.convert && v.remove && v.clear && v.selectAll);
    QVERIFY(!v.convert->isEnabled());
    QCOMPARE(v.table->columnCount(), 4);
    QCOMPARE(v.table->horizontalHeaderItem(3)->text(), QStringLiteral("File Directory"));
    // Fixed columns: the select-all box drawn at (33, 58) stays over column 0.
    QCOMPARE(v.table->horizontalHeader()->sectionResizeMode(0), QHeaderView::Fixed);
    QCOMPARE(v.selectAll->pos(), QPoint(33, 58));
}

void FileTableTest::addsThroughTheDialog()
{
    PageView v(m_page);
    const QString a = makeFile("a.HEIC", kMiB);
    addThroughDialog({a});
    QCOMPARE(v.count->text(), QStringLiteral("1 File(s), "));
    QCOMPARE(v.size->text(), QStringLiteral("1.0MB"));
    QCOMPARE(m_page->askedStartLocations, QStringList{"."});
    // A new row is not ticked, so there is nothing to convert yet.
    QCOMPARE(v.rowBox(0)->checkState(), Qt::Unchecked);
    QVERIFY(m_page->tickedRows().isEmpty());
    QVERIFY(!v.convert->isEnabled());
    QVERIFY(v.clear->isEnabled());
    QCOMPARE(v.selectAll->checkState(), Qt::Unchecked);

    const QString b = makeFile("b.heic", kMiB / 2);
    addThroughDialog({b});
    QCOMPARE(m_page->askedStartLocations.last(), QFileInfo(a).absoluteFilePath());
    QCOMPARE(v.count->text(), QStringLiteral("2 File(s), "));
    QCOMPARE(v.size->text(), QStringLiteral("1.5MB"));

    // Nothing chosen: nothing changes.
    addThroughDialog({});
    QCOMPARE(m_page->files().size(), 2);
    QCOMPARE(m_page->askedStartLocations.last(), QFileInfo(b).absoluteFilePath());
}

void FileTableTest::addedRowsShowNameSizeAndPath()
{
    PageView v(m_page);
    const QString photo = makeFile("IMG_0001.HEIC", 2516582);
    addThroughDialog({photo});
    QCOMPARE(v.table->item(0, 1)->text(), QStringLiteral("IMG_0001.HEIC"));
    QCOMPARE(v.table->item(0, 2)->text(), QStringLiteral("2.4MB"));
    QCOMPARE(v.table->item(0, 3)->text(), photo); // the full path, not only the folder
    QCOMPARE(v.rowBox(0)->index(), 0);
}

void FileTableTest::duplicatesAndVanishedChoices()
{
    PageView v(m_page);
    const QString a = makeFile("a.HEIC", kMiB);
    const QString gone = m_dir->filePath("gone.HEIC");
    addThroughDialog({a, gone, a});
    // The same file twice is two rows and counts twice; a path that vanished
    // is left out and takes no row.
    QCOMPARE(m_page->files().size(), 2);
    QCOMPARE(v.table->rowCount(), 2);
    QCOMPARE(v.table->item(1, 3)->text(), a);
    QVERIFY(v.rowBox(1));
    QCOMPARE(v.count->text(), QStringLiteral("2 File(s), "));
    QCOMPARE(v.size->text(), QStringLiteral("2.0MB"));

    // Only vanished paths on an empty table: the buttons stay off.
    TestableFileTable other;
    other.nextChoice = QStringList{gone};
    other.slot_AddItem();
    QVERIFY(other.files().isEmpty());
    QVERIFY(!other.findChild<QPushButton*>("pushButton_Convert")->isEnabled());
    QVERIFY(!other.findChild<QPushButton*>("pushButton_Clear")->isEnabled());
}

void FileTableTest::tickingFollowsTheRowsOnTheSelectAllBox()
{
    PageView v(m_page);
    addThroughDialog({makeFile("0.HEIC", 10), makeFile("1.HEIC", 10), makeFile("2.HEIC", 10)});

    v.tick(2);
    QCOMPARE(m_page->tickedRows(), (QList<int>{2}));
    QCOMPARE(v.selectAll->checkState(), Qt::PartiallyChecked);
    QVERIFY(v.convert->isEnabled());
    QVERIFY(v.remove->isEnabled());

    v.tick(0);
    v.tick(1);
    QCOMPARE(m_page->tickedRows(), (QList<int>{2, 0, 1}));
    QCOMPARE(v.selectAll->checkState(), Qt::Checked);

    v.tick(0); // untick
    QCOMPARE(m_page->tickedRows(), (QList<int>{2, 1}));
    QCOMPARE(v.selectAll->checkState(), Qt::PartiallyChecked);

    v.tick(2);
    v.tick(1);
    QVERIFY(m_page->tickedRows().isEmpty());
    QCOMPARE(v.selectAll->checkState(), Qt::Unchecked);
    QVERIFY(!v.convert->isEnabled());
    QVERIFY(!v.remove->isEnabled());
}

void FileTableTest::selectAllTicksAndUnticksEveryRow()
{
    PageView v(m_page);
    QStringList paths;
    for (int i = 0; i < 4; ++i)
        paths << makeFile(QString("%1.HEIC").arg(i), 10);
    addThroughDialog(paths);

    v.tick(2);
    v.click(v.selectAll); // partial -> checked
    QCOMPARE(v.selectAll->checkState(), Qt::Checked);
    for (int row = 0; row < 4; ++row)
        QCOMPARE(v.rowBox(row)->checkState(), Qt::Checked);
    // Row 2 was ticked already and does not signal again: it keeps its place
    // and every row appears once.
    QCOMPARE(m_page->tickedRows(), (QList<int>{2, 0, 1, 3}));
    QVERIFY(v.convert->isEnabled());

    v.click(v.selectAll); // checked -> unchecked
    QCOMPARE(v.selectAll->checkState(), Qt::Unchecked);
    for (int row = 0; row < 4; ++row)
        QCOMPARE(v.rowBox(row)->checkState(), Qt::Unchecked);
    QVERIFY(m_page->tickedRows().isEmpty());
    QVERIFY(!v.convert->isEnabled());
    QVERIFY(!v.remove->isEnabled());
}

void FileTableTest::selectAllNeverStopsOnPartial()
{
    PageView v(m_page);
    addThroughDialog({makeFile("0.HEIC", 10), makeFile("1.HEIC", 10)});
    v.tick(0);
    QCOMPARE(v.selectAll->checkState(), Qt::PartiallyChecked);
    v.click(v.selectAll);
    QCOMPARE(v.selectAll->checkState(), Qt::Checked);
    v.click(v.selectAll);
    QCOMPARE(v.selectAll->checkState(), Qt::Unchecked);
    // From "none" a click means "all", not the in-between state that would
    // tick nothing.
    v.click(v.selectAll);
    QCOMPARE(v.selectAll->checkState(), Qt::Checked);
    QCOMPARE(m_page->tickedRows().size(), 2);
}

void FileTableTest::deleteRemovesFromTheRowTickedFirst_data()
{
    QTest::addColumn<QList<int>>("tickOrder");
    QTest::addColumn<QStringList>("left");
    QTest::newRow("0 then 1") << QList<int>{0, 1} << QStringList{"f2", "f3", "f4"};
    QTest::newRow("3 then 1 takes rows 3 and 4") << QList<int>{3, 1} << QStringList{"f0", "f1", "f2"};
    QTest::newRow("2 then 0 takes rows 2 and 3") << QList<int>{2, 0} << QStringList{"f0", "f1", "f4"};
    QTest::newRow("past the end stops") << QList<int>{4, 3} << QStringList{"f0", "f1", "f2", "f3"};
    QTest::newRow("nothing ticked") << QList<int>{} << QStringList{"f0", "f1", "f2", "f3", "f4"};
}

void FileTableTest::deleteRemovesFromTheRowTickedFirst()
{
    QFETCH(QList<int>, tickOrder);
    QFETCH(QStringList, left);
    PageView v(m_page);
    QStringList paths;
    for (int i = 0; i < 5; ++i)
        paths << makeFile(QString("f%1").arg(i), kMiB);
    addThroughDialog(paths);
    for (int row : tickOrder)
        v.tick(row);

    m_page->slot_DeleteTableItem();

    QStringList names;
    for (const QFileInfo& info : m_page->files())
        names << info.fileName();
    QCOMPARE(names, left);
    QCOMPARE(v.table->rowCount(), left.size());
    for (int row = 0; row < left.size(); ++row) {
        QCOMPARE(v.table->item(row, 1)->text(), left.at(row));
        QCOMPARE(v.rowBox(row)->index(), row);
        QCOMPARE(v.rowBox(row)->checkState(), Qt::Unchecked);
    }
    QVERIFY(m_page->tickedRows().isEmpty());
    QVERIFY(!v.convert->isEnabled());
    QCOMPARE(v.selectAll->checkState(), Qt::Unchecked);
    QCOMPARE(v.count->text(), QString("%1 File(s), ").arg(left.size()));
    QCOMPARE(v.size->text(), QString("%1.0MB").arg(left.size()));

    // The new boxes are wired like the first ones.
    v.tick(0);
    QCOMPARE(m_page->tickedRows(), (QList<int>{0}));
}

void FileTableTest::deleteOfDuplicatesRemovesBothRows()
{
    PageView v(m_page);
    const QString a = makeFile("a.HEIC", 10);
    const QString b = makeFile("b.HEIC", 10);
    addThroughDialog({a, a, b});
    v.tick(0);
    m_page->slot_DeleteTableItem();
    QCOMPARE(m_page->files().size(), 1);
    QCOMPARE(m_page->files().first().fileName(), QStringLiteral("b.HEIC"));
    QVERIFY(v.selectAll->isEnabled());

    v.tick(0);
    m_page->slot_DeleteTableItem();
    QVERIFY(m_page->files().isEmpty());
    QVERIFY(!v.selectAll->isEnabled());
    QVERIFY(!v.remove->isEnabled());
    QVERIFY(!v.clear->isEnabled());
    QCOMPARE(v.count->text(), QStringLiteral("0 File(s), "));
}

void FileTableTest::clearAsksAndEmptiesEverything()
{
    PageView v(m_page);
    addThroughDialog({makeFile("a.HEIC", kMiB), makeFile("b.HEIC", kMiB)});
    v.tick(1);

    QString question;
    m_page->onModal = [&](QDialog* dialog) {
        auto* tip = qobject_cast<TipDialog*>(dialog);
        if (!tip)
            return int(QDialog::Rejected);
        question = tip->findChild<QLabel*>("label_StatesText")->text();
        tip->findChild<QPushButton*>("pushButton_Yes")->click();
        return int(QDialog::Accepted);
    };
    m_page->slot_ClearTableView();

    QCOMPARE(question, QStringLiteral("Are you sure to trash all the files here?"));
    QVERIFY(m_page->files().isEmpty());
    QVERIFY(m_page->tickedRows().isEmpty());
    QVERIFY(m_page->queuedPaths().isEmpty());
    QCOMPARE(v.count->text(), QStringLiteral("0 File(s), "));
    QCOMPARE(v.size->text(), QStringLiteral("0 MB"));
    QVERIFY(!v.convert->isEnabled());
    QVERIFY(!v.remove->isEnabled());
    QVERIFY(!v.clear->isEnabled());
    QVERIFY(!v.selectAll->isEnabled());
    QCOMPARE(v.table->rowCount(), 2); // empty rows stay until the next add
    QVERIFY(!v.table->item(0, 1));

    // The cleared boxes go with the next turn of the event loop; the table
    // then works as new.
    QTRY_VERIFY(!v.table->cellWidget(0, 0));
    addThroughDialog({makeFile("c.HEIC", kMiB)});
    QCOMPARE(v.count->text(), QStringLiteral("1 File(s), "));
    QCOMPARE(v.size->text(), QStringLiteral("1.0MB"));
    QVERIFY(v.selectAll->isEnabled());
    v.tick(0);
    QCOMPARE(m_page->tickedRows(), (QList<int>{0}));
    QCOMPARE(v.selectAll->checkState(), Qt::Checked);
}

void FileTableTest::declinedClearChangesNothing()
{
    PageView v(m_page);
    addThroughDialog({makeFile("a.HEIC", kMiB)});
    v.tick(0);
    m_page->onModal = [](QDialog* dialog) {
        dialog->findChild<QPushButton*>("pushButton_OK")->click(); // "No"
        return int(QDialog::Rejected);
    };
    m_page->slot_ClearTableView();
    QCOMPARE(m_page->files().size(), 1);
    QCOMPARE(m_page->tickedRows(), (QList<int>{0}));
    QCOMPARE(v.count->text(), QStringLiteral("1 File(s), "));
    QVERIFY(v.convert->isEnabled());
}

void FileTableTest::addFilesFromTheMainWindow()
{
    PageView v(m_page);
    const QString a = makeFile("a.HEIC", kMiB);
    const QString b = makeFile("b.HEIC", kMiB / 2);
    m_page->addFiles({a, m_dir->filePath("missing.HEIC"), b});
    QCOMPARE(m_page->files().size(), 2);
    QCOMPARE(v.table->rowCount(), 2);
    QCOMPARE(v.table->item(1, 3)->text(), b);
    QCOMPARE(v.count->text(), QStringLiteral("2 File(s), "));
    QCOMPARE(v.size->text(), QStringLiteral("1.5MB"));
    QVERIFY(v.remove->isEnabled());
    QVERIFY(v.clear->isEnabled());
    QVERIFY(!v.convert->isEnabled());

    v.tick(1);
    v.tick(0);
    QCOMPARE(m_page->tickedRows(), (QList<int>{1, 0}));
    QCOMPARE(v.selectAll->checkState(), Qt::Checked);

    // Nothing that exists: the table is not touched.
    TestableFileTable other;
    other.addFiles({m_dir->filePath("missing.HEIC")});
    QCOMPARE(other.findChild<QLabel*>("label_FileCount")->text(), QStringLiteral("Files"));

    // A second hand-over onto a filled table rebuilds it; the replaced boxes
    // go away without leaving anything behind that a later click could reach.
    m_page->addFiles({makeFile("c.HEIC", 10)});
    QCOMPARE(v.table->rowCount(), 3);
    QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    v.click(v.selectAll);
    for (int row = 0; row < 3; ++row)
        QVERIFY(v.rowBox(row));
}

void FileTableTest::vanishedFileLeavesItsRowEmpty()
{
    PageView v(m_page);
    const QString a = makeFile("a.HEIC", kMiB);
    const QString b = makeFile("b.HEIC", kMiB);
    const QString c = makeFile("c.HEIC", kMiB);
    addThroughDialog({a, b, c});
    QVERIFY(QFile::remove(b));
    v.tick(0);
    m_page->slot_DeleteTableItem();
    // b keeps its entry and its count but shows no row content and no box.
    QCOMPARE(m_page->files().size(), 2);
    QCOMPARE(v.count->text(), QStringLiteral("2 File(s), "));
    QCOMPARE(v.size->text(), QStringLiteral("1.0MB"));
    QVERIFY(!v.table->item(0, 1));
    QVERIFY(!v.rowBox(0));
    QCOMPARE(v.table->item(1, 1)->text(), QStringLiteral("c.HEIC"));
}

PICTOVA_BATCH_TEST_MAIN(FileTableTest)
#include "FileTableTest.moc"
