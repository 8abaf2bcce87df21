#include "NoFocusDelegate.h"
#include "StyleHelpers.h"
#include "VNStyleCheckBox.h"
#include "VNStyleTableWidget.h"

#include <QCheckBox>
#include <QHeaderView>
#include <QLabel>
#include <QLineEdit>
#include <QPainter>
#include <QSignalSpy>
#include <QtTest>

class TestCheckBoxTable : public QObject
{
    Q_OBJECT

private slots:
    void userTickReportsStateAndIndex();
    void programmaticChangesAreReportedToo();
    void tristateOff();
    void tableSelectsWholeRowsWithoutEditingOrSorting();
    void selectedRowIsLightBlue();
    void delegateDrawsNoFocusFrame();
    void elidedLabelKeepsFullTextAsToolTip();
};

void TestCheckBoxTable::userTickReportsStateAndIndex()
{
    VNStyleCheckBox box(7);
    box.resize(84, 44);
    box.show();
    QSignalSpy states(&box, &VNStyleCheckBox::signal_StateChanged);
    QSignalSpy clicks(&box, &VNStyleCheckBox::signal_Clicked);
    auto* inner = box.findChild<QCheckBox*>(QStringLiteral("checkBox"));
    QVERIFY(inner);

    QTest::mouseClick(inner, Qt::LeftButton, {}, inner->rect().center());
    QCOMPARE(states.count(), 1);
    QCOMPARE(states.at(0), (QList<QVariant>{2, 7}));
    QTest::mouseClick(inner, Qt::LeftButton, {}, inner->rect().center());
    QCOMPARE(states.at(1), (QList<QVariant>{0, 7}));
    QCOMPARE(clicks.count(), 2);
    QCOMPARE(box.checkState(), Qt::Unchecked);
}

void TestCheckBoxTable::programmaticChangesAreReportedToo()
{
    VNStyleCheckBox header(-1);
    QSignalSpy states(&header, &VNStyleCheckBox::signal_StateChanged);
    QSignalSpy clicks(&header, &VNStyleCheckBox::signal_Clicked);
    header.setCheckState(Qt::PartiallyChecked);
    QCOMPARE(states.count(), 1);
    QCOMPARE(states.at(0), (QList<QVariant>{1, -1}));
    QCOMPARE(header.checkState(), Qt::PartiallyChecked);
    QCOMPARE(clicks.count(), 0); // only a user's click clicks
}

void TestCheckBoxTable::tristateOff()
{
    VNStyleCheckBox box(0);
    box.setCheckState(Qt::PartiallyChecked);
    auto* inner = box.findChild<QCheckBox*>(QStringLiteral("checkBox"));
    QVERIFY(inner->isTristate()); // a partial state makes Qt cycle through three
    box.setTristateOff();
    QVERIFY(!inner->isTristate());
}

void TestCheckBoxTable::tableSelectsWholeRowsWithoutEditingOrSorting()
{
    VNStyleTableWidget table;
    table.setColumnCount(2);
    table.setRowCount(3);
    for (int r = 0; r < 3; ++r) {
        table.setItem(r, 0, new QTableWidgetItem(QString::number(3 - r)));
        table.setItem(r, 1, new QTableWidgetItem(QStringLiteral("x")));
    }
    table.resize(300, 200);
    table.show();
    QVERIFY(QTest::qWaitForWindowExposed(&table));

    // A header click neither sorts nor selects.
    QHeaderView* header = table.horizontalHeader();
    QTest::mouseClick(header->viewport(), Qt::LeftButton, {}, QPoint(header->sectionPosition(0) + 5, 5));
    QCOMPARE(table.item(0, 0)->text(), QStringLiteral("3"));
    QVERIFY(table.selectedItems().isEmpty());

    // A cell click selects its whole row and nothing opens an editor.
    const QRect cell = table.visualItemRect(table.item(1, 1));
    QTest::mouseDClick(table.viewport(), Qt::LeftButton, {}, cell.center());
    QCOMPARE(table.selectedItems().size(), 2);
    QCOMPARE(table.selectedItems().at(0)->row(), 1);
    QVERIFY(!table.findChild<QLineEdit*>());
}

void TestCheckBoxTable::selectedRowIsLightBlue()
{
    VNStyleTableWidget table;
    table.setColumnCount(2);
    table.setRowCount(2);
    table.setItem(0, 0, new QTableWidgetItem);
    table.setItem(0, 1, new QTableWidgetItem);
    table.resize(300, 200);
    table.selectRow(0);
    table.show();
    QVERIFY(QTest::qWaitForWindowExposed(&table));
    const QImage shot = table.viewport()->grab().toImage();
    const QRect cell = table.visualItemRect(table.item(0, 1));
    QCOMPARE(shot.pixelColor(cell.center()), QColor(207, 232, 250));
}

void TestCheckBoxTable::delegateDrawsNoFocusFrame()
{
    // The same focused cell painted with and without the focus flag must look
    // the same: the delegate drops the dotted frame.
    QTableWidget table(1, 1);
    table.setItem(0, 0, new QTableWidgetItem(QStringLiteral("IMG_0001.HEIC")));
    NoFocusDelegate delegate;
    QStyleOptionViewItem option;
    option.initFrom(&table);
    option.rect = QRect(0, 0, 160, 40);
    option.state |= QStyle::State_Selected | QStyle::State_Enabled;
    const QModelIndex index = table.model()->index(0, 0);

    auto paint = [&](bool focus) {
        QImage image(160, 40, QImage::Format_ARGB32_Premultiplied);
        image.fill(Qt::white);
        QStyleOptionViewItem o(option);
        if (focus)
            o.state |= QStyle::State_HasFocus;
        QPainter painter(&image);
        delegate.paint(&painter, o, index);
        return image;
    };
    QCOMPARE(paint(true), paint(false));
}

void TestCheckBoxTable::elidedLabelKeepsFullTextAsToolTip()
{
    QLabel label;
    const QString text = QStringLiteral("a_rather_long_file_name_from_a_phone_IMG_20240101_123456.HEIC");
    StyleHelpers::setElidedText(&label, text, 80);
    QVERIFY(label.text().size() < text.size());
    QVERIFY(label.text().endsWith(QChar(0x2026)));
    QCOMPARE(label.toolTip(), text);
}

QTEST_MAIN(TestCheckBoxTable)
#include "tst_checkboxtable.moc"
