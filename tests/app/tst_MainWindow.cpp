// The main window on its own: page navigation, the photo information
// dialog, the tools menu and quitting.
#include "TestSandbox.h"
#include "AppTestSupport.h"

#include "HeicFileTable.h"
#include "HeicFixture.h"
#include "Pictova.h"
#include "PhotoInfo.h"
#include "PreviewHEIC.h"
#include "SingalConverterHome.h"

#include <QAction>
#include <QLabel>
#include <QMap>
#include <QMenu>
#include <QAbstractButton>
#include <QPointer>
#include <QTableWidget>
#include <QtTest>

namespace {

// The window with its two ways out of the process replaced: the menu
// configuration comes from the test, and web addresses are recorded instead
// of opened.
class TestPictova : public Pictova
{
public:
    struct Entry
    {
        int state = 1;
        QString url;
    };
    QMap<int, Entry> config;
    QList<QUrl> opened;
    bool browserStarts = true;

    void queryMenuEntry(int id, int* state, QString* url) override
    {
        const Entry entry = config.value(id);
        *state = entry.state;
        *url = entry.url;
    }

protected:
    bool openUrl(const QUrl& url) override
    {
        opened << url;
        return browserStarts;
    }
};

// The menu as text: entry texts, "-" for a separator.
QStringList menuLayout(const QMenu* menu)
{
    QStringList layout;
    for (const QAction* action : menu->actions())
        layout << (action->isSeparator() ? QStringLiteral("-") : action->text());
    return layout;
}

QAction* actionNamed(const QMenu* menu, const QString& text)
{
    for (QAction* action : menu->actions())
        if (action->text() == text)
            return action;
    return nullptr;
}

template <typename T>
T* child(const QWidget* window, const char* name)
{
    return window->findChild<T*>(QString::fromLatin1(name));
}

void clickButton(QWidget* window, const char* name)
{
    auto* button = child<QAbstractButton>(window, name);
    QVERIFY2(button, name);
    QVERIFY2(button->isVisible(), name);
    QTest::mouseClick(button, Qt::LeftButton);
}

void flushDeletes()
{
    QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
}

bool onHomeScreen(const Pictova& window)
{
    return window.currentPage() == nullptr && child<QWidget>(&window, "widget_Main")->isVisible()
        && child<QWidget>(&window, "pushButton_SingleStart")->isVisible()
        && child<QWidget>(&window, "pushButton_BatchStart")->isVisible()
        && !child<QWidget>(&window, "pushButton_BackHome")->isVisible()
        && child<QWidget>(&window, "label_TitleName")->isVisible();
}

QString pageTitle(const Pictova& window)
{
    const auto* label = child<QLabel>(&window, "label_PageTitle");
    return label && label->isVisible() ? label->text() : QString();
}

} // namespace

class tst_MainWindow : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void pagesAreNewEveryVisit_data();
    void pagesAreNewEveryVisit();
    void photoInfoShowsTheCurrentPhotoEveryTime();
    void toolsMenuSeparators_data();
    void toolsMenuSeparators();
    void withoutBrowserTheAddressIsShown();
    void quitAsksAndEndsTheEventLoopWithZero();
    void windowManagerCloseAsksTheSameQuestion();

private:
    QTemporaryDir m_photos;
    QString m_photo;
};

void tst_MainWindow::initTestCase()
{
    QVERIFY(m_photos.isValid());
    m_photo = m_photos.filePath("IMG_0001.HEIC");
    QVERIFY(HeicFixture::write(m_photo, HeicFixture::quadrants(256, 192)));
}

void tst_MainWindow::pagesAreNewEveryVisit_data()
{
    QTest::addColumn<bool>("batch");
    QTest::addColumn<QString>("title");
    QTest::newRow("single") << false << "Conver Single Photo";
    QTest::newRow("batch") << true << "Convert Photos in Batch";
}

void tst_MainWindow::pagesAreNewEveryVisit()
{
    QFETCH(bool, batch);
    QFETCH(QString, title);
    TestPictova window;
    QPointer<QWidget> firstDrop, firstNext;
    for (int visit = 0; visit < 2; ++visit) {
        clickButton(&window, batch ? "pushButton_BatchStart" : "pushButton_SingleStart");
        auto* drop = qobject_cast<SingalConverterHome*>(window.currentPage());
        QVERIFY(drop);
        QCOMPARE(drop->isBatchMode(), batch);
        // The pages of the previous visit are gone, not hidden and re-used.
        QVERIFY(firstDrop.isNull() && firstNext.isNull());
        QCOMPARE(pageTitle(window), title);
        QVERIFY(!child<QWidget>(&window, "widget_Main")->isVisible());

        QPointer<QWidget> dropGuard = drop;
        if (batch) {
            emit drop->signal_addHeicFile({}); // chooser cancelled: stay on the drop page
            QCOMPARE(window.currentPage(), static_cast<QWidget*>(drop));
        }
        if (batch)
            emit drop->signal_addHeicFile({m_photo, m_photo});
        else
            emit drop->signal_ToPreviewView(m_photo);
        QWidget* next = window.currentPage();
        if (batch)
            QCOMPARE(child<QTableWidget>(qobject_cast<HeicFileTable*>(next), "tableWidget")->rowCount(), 1);
        else
            QCOMPARE(qobject_cast<PreviewHEIC*>(next)->filePath(), m_photo);
        QVERIFY(next->isVisible());
        QCOMPARE(pageTitle(window), title);
        if (visit == 0) {
            firstDrop = drop;
            firstNext = next;
        }
        flushDeletes();
        QVERIFY2(dropGuard.isNull(), "the drop page outlived the switch");

        QPointer<QWidget> nextGuard = next;
        clickButton(&window, "pushButton_BackHome");
        QVERIFY2(nextGuard.isNull(), "the page outlived going home");
        QVERIFY(onHomeScreen(window));
        QVERIFY(pageTitle(window).isEmpty());
    }
}

void tst_MainWindow::photoInfoShowsTheCurrentPhotoEveryTime()
{
    TestPictova window;
    struct Shown
    {
        QWidget* dialog = nullptr;
        QStringList texts;
    };
    auto readAndClose = [](Shown* shown) {
        return [shown](QWidget* modal) {
            shown->dialog = modal;
            for (const char* name : {"label_NameValue", "label_CreateDateValue",
                                     "label_FileSizeValue", "label_ResolutionValue"})
                shown->texts << child<QLabel>(modal, name)->text();
            QTest::mouseClick(child<QAbstractButton>(modal, "pushButton_Ok"), Qt::LeftButton);
        };
    };

    Shown first, second;
    AppTestSupport::answerNextModal(readAndClose(&first));
    window.slot_PhotoInfo("a.HEIC", "01-02-2024", "1.50MB", "4032*3024");
    AppTestSupport::answerNextModal(readAndClose(&second));
    window.slot_PhotoInfo("b.heic", "12-31-2023", "0.25MB", "");

    QVERIFY(qobject_cast<PhotoInfo*>(first.dialog));
    QCOMPARE(first.texts, QStringList({"a.HEIC", "01-02-2024", "1.50MB", "4032*3024"}));
    QCOMPARE(second.dialog, first.dialog);
    QCOMPARE(second.texts, QStringList({"b.heic", "12-31-2023", "0.25MB", ""}));
}

void tst_MainWindow::toolsMenuSeparators_data()
{
    QTest::addColumn<QList<int>>("hidden");
    QTest::addColumn<QList<int>>("withoutAddress");
    QTest::addColumn<QStringList>("layout");

    const QString T = "Tutorial", F = "Frequently Asked Questions", R = "Write a Product Review",
                  C = "Contact Us", FB = "View Facebook Fan Page", TW = "Follow Us on Twitter",
                  A = "About", X = "Exit", S = "-";
    const QList<int> none;
    QTest::newRow("everything") << none << none << QStringList{T, F, R, C, S, FB, TW, S, A, X};
    QTest::newRow("no contact") << QList<int>{6} << none << QStringList{T, F, R, FB, TW, S, A, X};
    // As shipped: no addresses, so only the help pages that come with the
    // program are offered.
    QTest::newRow("no addresses") << none << QList<int>{3, 4, 5, 6, 7, 8} << QStringList{T, F, A, X};
}

void tst_MainWindow::toolsMenuSeparators()
{
    QFETCH(QList<int>, hidden);
    QFETCH(QList<int>, withoutAddress);
    QFETCH(QStringList, layout);
    TestPictova window;
    for (int id = Pictova::LinkTutorial; id <= Pictova::LinkTwitter; ++id)
        window.config[id].url = QStringLiteral("https://example.org/%1").arg(id);
    for (int id : hidden)
        window.config[id].state = 0;
    for (int id : withoutAddress)
        window.config[id].url.clear();
    window.slot_AddToolMenu();
    QVERIFY(window.toolsMenu());
    QCOMPARE(menuLayout(window.toolsMenu()), layout);
    window.toolsMenu()->hide();
}

void tst_MainWindow::withoutBrowserTheAddressIsShown()
{
    TestPictova window;
    window.browserStarts = false;
    window.config[Pictova::LinkContactUs].url = "https://example.org/contact";
    window.slot_AddToolMenu();
    window.toolsMenu()->hide();
    QString shown;
    AppTestSupport::answerNextModal([&shown](QWidget* modal) {
        for (const QLabel* label : modal->findChildren<QLabel*>())
            shown += label->text();
        modal->close();
    });
    QTest::ignoreMessage(QtWarningMsg, "Pictova: could not open https://example.org/contact");
    actionNamed(window.toolsMenu(), "Contact Us")->trigger();
    QVERIFY2(shown.contains("https://example.org/contact"), qPrintable(shown));
}

void tst_MainWindow::quitAsksAndEndsTheEventLoopWithZero()
{
    TestPictova window;
    // The title bar's close asks too; "No" keeps the window.
    AppTestSupport::answerNextModal([](QWidget* modal) {
        QTest::mouseClick(child<QAbstractButton>(modal, "pushButton_OK"), Qt::LeftButton);
    });
    clickButton(&window, "pushButton_Close");
    QVERIFY(window.isVisible());

    window.slot_AddToolMenu();
    window.toolsMenu()->hide();
    QString asked;
    AppTestSupport::answerNextModal([&asked](QWidget* modal) {
        asked = child<QLabel>(modal, "label_StatesText")->text();
        QTest::mouseClick(child<QAbstractButton>(modal, "pushButton_Yes"), Qt::LeftButton);
    });
    QAction* exitAction = actionNamed(window.toolsMenu(), "Exit");
    QTimer::singleShot(0, exitAction, &QAction::trigger);
    // Watchdog: a quit that does not end the loop fails instead of hanging.
    QTimer watchdog;
    watchdog.setSingleShot(true);
    connect(&watchdog, &QTimer::timeout, [] { QCoreApplication::exit(99); });
    watchdog.start(30000);
    QCOMPARE(QApplication::exec(), 0);
    QCOMPARE(asked, QStringLiteral("Are you sure to quit the program?"));
    QVERIFY(!window.isVisible());
}

void tst_MainWindow::windowManagerCloseAsksTheSameQuestion()
{
    // Alt+F4 and the window manager close the window through close().
    TestPictova window;
    for (const char* answer : {"pushButton_OK", "pushButton_Yes"}) {
        bool asked = false;
        AppTestSupport::answerNextModal([answer, &asked](QWidget* modal) {
            asked = true;
            QTest::mouseClick(child<QAbstractButton>(modal, answer), Qt::LeftButton);
        });
        const bool closed = window.close();
        QVERIFY(asked);
        QCOMPARE(closed, answer == QByteArray("pushButton_Yes"));
        QCOMPARE(window.isVisible(), !closed);
    }
}

PICTOVA_TEST_MAIN(tst_MainWindow)
#include "tst_MainWindow.moc"
