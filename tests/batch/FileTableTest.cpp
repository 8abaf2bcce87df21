#include "BatchTestEnvironment.h"
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
    void init();
    void cleanup();

    void addingShowsRowsAndTotals();
    void tickingAndSelectAll();
    void deleteRemovesFromTheRowTickedFirst_data();
    void deleteRemovesFromTheRowTickedFirst();
    void deleteOfDuplicatesRemovesBothRows();
    void clearAsksAndEmptiesEverything();
    void addFilesFromTheMainWindow();

private:
    QString makeFile(const QString& name, qint64 bytes);
    void addThroughDialog(const QStringList& paths);
    // Answers the clear question with Yes or No and returns what it asked.
    QString clearAnswering(bool yes);

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

QString FileTableTest::clearAnswering(bool yes)
{
    QString question;
    m_page->onModal = [&](QDialog* dialog) {
        question = dialog->findChild<QLabel*>("label_StatesText")->text();
        dialog->findChild<QPushButton*>(yes ? "pushButton_Yes" : "pushButton_OK")->click();
        return int(yes ? QDialog::Accepted : QDialog::Rejected);
    };
    m_page->slot_ClearTableView();
    m_page->onModal = nullptr;
    return question;
}

void FileTableTest::addingShowsRowsAndTotals()
{
    PageView v(m_page);
    const QString a = makeFile("IMG_0001.HEIC", 2516582);
    const QString gone = m_dir->filePath("gone.HEIC");
    addThroughDialog({a, gone});
    QCOMPARE(m_page->askedStartLocations, QStringList{"."});
    QCOMPARE(v.table->item(0, 1)->text(), QStringLiteral("IMG_0001.HEIC"));
    QCOMPARE(v.table->item(0, 2)->text(), QStringLiteral("2.4MB"));
    QCOMPARE(v.table->item(0, 3)->text(), a); // the full path, not only the folder
    // A vanished path takes no row; a new row is not ticked, so there is
    // nothing to convert yet.
    QCOMPARE(v.table->rowCount(), 1);
    QCOMPARE(v.rowBox(0)->checkState(), Qt::Unchecked);
    QVERIFY(!v.convert->isEnabled());
    QVERIFY(v.clear->isEnabled());

    // The same file again is a second row and counts twice; the dialog
    // starts where the last file was found.
    const QString b = makeFile("b.heic", kMiB / 2);
    addThroughDialog({b, a});
    QCOMPARE(m_page->askedStartLocations.last(), QFileInfo(a).absoluteFilePath());
    QCOMPARE(v.table->rowCount(), 3);
    QCOMPARE(v.count->text(), QStringLiteral("3 File(s), "));
    QCOMPARE(v.size->text(), QStringLiteral("5.3MB"));

    // Nothing chosen: nothing changes.
    addThroughDialog({});
    QCOMPARE(m_page->files().size(), 3);

    // Only vanished paths on an empty table: the buttons stay off.
    TestableFileTable other;
    other.nextChoice = QStringList{gone};
    other.slot_AddItem();
    QVERIFY(other.files().isEmpty());
    QVERIFY(!other.findChild<QPushButton*>("pushButton_Clear")->isEnabled());
}

void FileTableTest::tickingAndSelectAll()
{
    PageView v(m_page);
    addThroughDialog({makeFile("0.HEIC", 10), makeFile("1.HEIC", 10), makeFile("2.HEIC", 10)});

    v.tick(2);
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

    // Partial -> all: rows already ticked do not signal again, so they keep
    // their place and every row appears once.
    v.click(v.selectAll);
    QCOMPARE(v.selectAll->checkState(), Qt::Checked);
    QCOMPARE(m_page->tickedRows(), (QList<int>{2, 1, 0}));
    for (int row = 0; row < 3; ++row)
        QCOMPARE(v.rowBox(row)->checkState(), Qt::Checked);

    v.click(v.selectAll); // all -> none
    for (int row = 0; row < 3; ++row)
        QCOMPARE(v.rowBox(row)->checkState(), Qt::Unchecked);
    QVERIFY(m_page->tickedRows().isEmpty());
    QVERIFY(!v.convert->isEnabled());
    QVERIFY(!v.remove->isEnabled());

    // From none a click means all, not the in-between state that ticks nothing.
    v.click(v.selectAll);
    QCOMPARE(v.selectAll->checkState(), Qt::Checked);
    QCOMPARE(m_page->tickedRows().size(), 3);
}

void FileTableTest::deleteRemovesFromTheRowTickedFirst_data()
{
    QTest::addColumn<QList<int>>("tickOrder");
    QTest::addColumn<QStringList>("left");
    QTest::newRow("0 then 1") << QList<int>{0, 1} << QStringList{"f2", "f3", "f4"};
    QTest::newRow("3 then 1 takes rows 3 and 4") << QList<int>{3, 1} << QStringList{"f0", "f1", "f2"};
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
        QCOMPARE(v.rowBox(row)->checkState(), Qt::Unchecked);
    }
    QVERIFY(m_page->tickedRows().isEmpty());
    QCOMPARE(v.selectAll->checkState(), Qt::Unchecked);
    QCOMPARE(v.size->text(), QString("%1.0MB").arg(left.size()));

    // The new boxes report their own rows.
    v.tick(left.size() - 1);
    QCOMPARE(m_page->tickedRows(), (QList<int>{left.size() - 1}));
}

void FileTableTest::deleteOfDuplicatesRemovesBothRows()
{
    PageView v(m_page);
    const QString a = makeFile("a.HEIC", 10);
    addThroughDialog({a, a, makeFile("b.HEIC", 10)});
    v.tick(0);
    m_page->slot_DeleteTableItem();
    QCOMPARE(m_page->files().size(), 1);
    QCOMPARE(m_page->files().first().fileName(), QStringLiteral("b.HEIC"));

    v.tick(0);
    m_page->slot_DeleteTableItem();
    QVERIFY(m_page->files().isEmpty());
    QVERIFY(!v.selectAll->isEnabled());
    QVERIFY(!v.clear->isEnabled());
}

void FileTableTest::clearAsksAndEmptiesEverything()
{
    PageView v(m_page);
    addThroughDialog({makeFile("a.HEIC", kMiB), makeFile("b.HEIC", kMiB)});
    v.tick(1);

    QCOMPARE(clearAnswering(false), QStringLiteral("Are you sure to trash all the files here?"));
    QCOMPARE(m_page->files().size(), 2);
    QCOMPARE(m_page->tickedRows(), (QList<int>{1}));

    clearAnswering(true);
    QVERIFY(m_page->files().isEmpty());
    QVERIFY(m_page->tickedRows().isEmpty());
    QCOMPARE(v.count->text(), QStringLiteral("0 File(s), "));
    QCOMPARE(v.size->text(), QStringLiteral("0 MB"));
    QVERIFY(!v.convert->isEnabled());
    QVERIFY(!v.clear->isEnabled());
    QVERIFY(!v.selectAll->isEnabled());
    QCOMPARE(v.table->rowCount(), 2); // empty rows stay until the next add
    QVERIFY(!v.table->item(0, 1));

    // The cleared boxes go with the next turn of the event loop; the table
    // then works as new.
    QTRY_VERIFY(!v.table->cellWidget(0, 0));
    addThroughDialog({makeFile("c.HEIC", kMiB)});
    QCOMPARE(v.count->text(), QStringLiteral("1 File(s), "));
    v.tick(0);
    QCOMPARE(m_page->tickedRows(), (QList<int>{0}));
    QCOMPARE(v.selectAll->checkState(), Qt::Checked);
}

void FileTableTest::addFilesFromTheMainWindow()
{
    PageView v(m_page);
    m_page->addFiles({makeFile("a.HEIC", kMiB), m_dir->filePath("missing.HEIC"), makeFile("b.HEIC", kMiB / 2)});
    QCOMPARE(v.table->rowCount(), 2);
    QCOMPARE(v.size->text(), QStringLiteral("1.5MB"));
    QVERIFY(!v.convert->isEnabled());

    // Nothing that exists: the table is not touched.
    TestableFileTable other;
    other.addFiles({m_dir->filePath("missing.HEIC")});
    QCOMPARE(other.findChild<QLabel*>("label_FileCount")->text(), QStringLiteral("Files"));

    // A second hand-over rebuilds the table; the replaced boxes go without
    // leaving anything a later select-all could reach.
    m_page->addFiles({makeFile("c.HEIC", 10)});
    QCOMPARE(v.table->rowCount(), 3);
    QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    v.click(v.selectAll);
    QCOMPARE(m_page->tickedRows(), (QList<int>{0, 1, 2}));
}

PICTOVA_BATCH_TEST_MAIN(FileTableTest)
#include "FileTableTest.moc"
