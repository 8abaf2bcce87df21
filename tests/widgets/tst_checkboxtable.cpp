#include "TestSandbox.h"
#include "StyleHelpers.h"
#include "VNStyleCheckBox.h"

#include <QCheckBox>
#include <QLabel>
#include <QSignalSpy>
#include <QtTest>

class TestCheckBoxTable : public QObject
{
    Q_OBJECT

private slots:
    void boxReportsStateAndIndex();
    void elidedLabelKeepsFullTextAsToolTip();
};

void TestCheckBoxTable::boxReportsStateAndIndex()
{
    VNStyleCheckBox box(7);
    box.resize(84, 44);
    box.show();
    QSignalSpy states(&box, &VNStyleCheckBox::signal_StateChanged);
    QSignalSpy clicks(&box, &VNStyleCheckBox::signal_Clicked);
    auto* inner = box.findChild<QCheckBox*>(QStringLiteral("checkBox"));
    QTest::mouseClick(inner, Qt::LeftButton, {}, inner->rect().center());
    QTest::mouseClick(inner, Qt::LeftButton, {}, inner->rect().center());
    QCOMPARE(states.count(), 2);
    QCOMPARE(states.at(0), (QList<QVariant>{2, 7}));
    QCOMPARE(states.at(1), (QList<QVariant>{0, 7}));
    QCOMPARE(clicks.count(), 2);

    // A change made by the program is reported too, but is not a click.
    box.setCheckState(Qt::PartiallyChecked);
    QCOMPARE(states.at(2), (QList<QVariant>{1, 7}));
    QCOMPARE(clicks.count(), 2);
    // A partial state makes Qt cycle through three until switched off.
    QVERIFY(inner->isTristate());
    box.setTristateOff();
    QVERIFY(!inner->isTristate());
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

PICTOVA_TEST_MAIN(TestCheckBoxTable)
#include "tst_checkboxtable.moc"
