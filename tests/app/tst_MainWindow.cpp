// The main window on its own: page navigation, the photo information
// dialog, the tools menu and quitting.
#include "AppTestSupport.h"

#include "HeicFileTable.h"
#include "HeicFixture.h"
#include "Pictova.h"
#include "PhotoInfo.h"
#include "PreviewHEIC.h"
#include "SingalConverterHome.h"
#include "TipDialog.h"
#include "VNAbout.h"
#include "VNStyleButton.h"

#include <QAction>
#include <QLabel>
#include <QMap>
#include <QMenu>
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
        return true;
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
    void homeScreenPutsStartButtonsOnTheirTiles();
    void singleFlowMakesNewPagesEveryVisit();
    void batchFlowAfterSingleUsesBatchTexts();
    void goingHomeWhilePreviewDecodes();
    void photoInfoShowsTheCurrentPhotoEveryTime();
    void toolsMenuSeparators_data();
    void toolsMenuSeparators();
    void toolsMenuIsBuiltOnceAndOpensAddresses();
    void aboutOpensFromTheMenu();
    void quitAsksAndEndsTheEventLoopWithZero();
    void quitDeclinedKeepsTheWindow();

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

void tst_MainWindow::homeScreenPutsStartButtonsOnTheirTiles()
{
    TestPictova window;
    QCOMPARE(window.size(), QSize(1010, 630));
    QVERIFY(window.windowFlags() & Qt::FramelessWindowHint);
    QVERIFY(onHomeScreen(window));
    QCOMPARE(child<QLabel>(&window, "label_Company")->text(), QStringLiteral("Vantora"));
    QCOMPARE(child<QLabel>(&window, "label_TitleName")->text(), QStringLiteral("Pictova"));
    QVERIFY(!child<QWidget>(&window, "pushButton_Feedback")->isVisible());

    // The buttons are placed by hand over tiles that the layout places: each
    // must lie wholly inside its own tile, in the tile's lower part.
    const struct {
        const char* button;
        const char* tile;
        QPoint pos;
    } tiles[] = {{"pushButton_SingleStart", "label_SignalPhoto", {210, 400}},
                 {"pushButton_BatchStart", "label_BatchPhoto", {635, 400}}};
    for (const auto& t : tiles) {
        const auto* button = child<VNStyleButton>(&window, t.button);
        const auto* tile = child<QWidget>(&window, t.tile);
        QCOMPARE(button->pos(), t.pos);
        QCOMPARE(button->size(), QSize(168, 43));
        QCOMPARE(button->text(), QStringLiteral("Start"));
        const QRect tileRect(tile->mapTo(&window, QPoint(0, 0)), tile->size());
        QCOMPARE(tileRect.size(), QSize(290, 350));
        QVERIFY2(tileRect.contains(button->geometry()), t.button);
        QVERIFY(button->geometry().top() > tileRect.center().y());
    }
}

void tst_MainWindow::singleFlowMakesNewPagesEveryVisit()
{
    TestPictova window;
    QPointer<QWidget> firstDrop, firstPreview;
    for (int visit = 0; visit < 2; ++visit) {
        clickButton(&window, "pushButton_SingleStart");
        auto* drop = qobject_cast<SingalConverterHome*>(window.currentPage());
        QVERIFY(drop);
        QVERIFY(!drop->isBatchMode());
        // The pages of the previous visit are gone, not hidden and re-used.
        QVERIFY(firstDrop.isNull());
        QVERIFY(firstPreview.isNull());
        if (visit == 0)
            firstDrop = drop;
        QCOMPARE(pageTitle(window), QStringLiteral("Conver Single Photo"));
        QVERIFY(child<QWidget>(&window, "pushButton_BackHome")->isVisible());
        QVERIFY(!child<QWidget>(&window, "widget_Main")->isVisible());
        QVERIFY(!child<QWidget>(&window, "pushButton_SingleStart")->isVisible());
        QCOMPARE(drop->size(), QSize(1000, 569));

        QPointer<QWidget> dropGuard = drop;
        emit drop->signal_ToPreviewView(m_photo);
        auto* preview = qobject_cast<PreviewHEIC*>(window.currentPage());
        QVERIFY(preview);
        if (visit == 0)
            firstPreview = preview;
        QCOMPARE(preview->filePath(), m_photo);
        QVERIFY(preview->isVisible());
        QCOMPARE(pageTitle(window), QStringLiteral("Conver Single Photo"));
        flushDeletes();
        QVERIFY2(dropGuard.isNull(), "the drop page outlived the switch to the preview");
        if (window.decoder())
            QTRY_VERIFY_WITH_TIMEOUT(preview->isPreviewShown(), 20000);

        QPointer<QWidget> previewGuard = preview;
        clickButton(&window, "pushButton_BackHome");
        QVERIFY2(previewGuard.isNull(), "the preview page outlived going home");
        QVERIFY(onHomeScreen(window));
        QVERIFY(pageTitle(window).isEmpty());
    }
}

void tst_MainWindow::batchFlowAfterSingleUsesBatchTexts()
{
    TestPictova window;
    clickButton(&window, "pushButton_SingleStart");
    clickButton(&window, "pushButton_BackHome");
    flushDeletes();

    clickButton(&window, "pushButton_BatchStart");
    auto* drop = qobject_cast<SingalConverterHome*>(window.currentPage());
    QVERIFY(drop);
    QVERIFY(drop->isBatchMode());
    QCOMPARE(pageTitle(window), QStringLiteral("Convert Photos in Batch"));
    QCOMPARE(child<QLabel>(drop, "label_SelectTip")->text(), QStringLiteral("Select Files"));
    QCOMPARE(child<QLabel>(drop, "label_DropTip")->text(),
             QStringLiteral("Or you can directly drop the HEIC files here."));

    QPointer<QWidget> dropGuard = drop;
    emit drop->signal_addHeicFile({m_photo, m_photo});
    auto* table = qobject_cast<HeicFileTable*>(window.currentPage());
    QVERIFY(table);
    QVERIFY(table->isVisible());
    QCOMPARE(child<QTableWidget>(table, "tableWidget")->rowCount(), 2);
    flushDeletes();
    QVERIFY(dropGuard.isNull());

    QPointer<QWidget> tableGuard = table;
    clickButton(&window, "pushButton_BackHome");
    QVERIFY(tableGuard.isNull());
    QVERIFY(onHomeScreen(window));
}

void tst_MainWindow::goingHomeWhilePreviewDecodes()
{
    // A larger photo keeps the decoder busy while the page goes away; under
    // the sanitizers this catches a result delivered into a deleted page.
    const QString big = m_photos.filePath("IMG_BIG.HEIC");
    QVERIFY(HeicFixture::write(big, HeicFixture::gradient(2048, 1536)));
    TestPictova window;
    for (int round = 0; round < 3; ++round) {
        clickButton(&window, "pushButton_SingleStart");
        emit qobject_cast<SingalConverterHome*>(window.currentPage())->signal_ToPreviewView(big);
        QVERIFY(qobject_cast<PreviewHEIC*>(window.currentPage()));
        clickButton(&window, "pushButton_BackHome");
        QVERIFY(onHomeScreen(window));
    }
    QTest::qWait(200);
    flushDeletes();
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
    QTest::addColumn<QStringList>("layout");

    const QString T = "Tutorial", F = "Frequently Asked Questions", R = "Write a Product Review",
                  C = "Contact Us", FB = "View Facebook Fan Page", TW = "Follow Us on Twitter",
                  A = "About", X = "Exit", S = "-";
    QTest::newRow("everything") << QList<int>{} << QStringList{T, F, R, C, S, FB, TW, S, A, X};
    QTest::newRow("no contact") << QList<int>{6} << QStringList{T, F, R, FB, TW, S, A, X};
    QTest::newRow("no twitter") << QList<int>{8} << QStringList{T, F, R, C, S, FB, A, X};
    QTest::newRow("no social") << QList<int>{7, 8} << QStringList{T, F, R, C, S, A, X};
    QTest::newRow("no links") << QList<int>{3, 4, 5, 6, 7, 8} << QStringList{A, X};
}

void tst_MainWindow::toolsMenuSeparators()
{
    QFETCH(QList<int>, hidden);
    QFETCH(QStringList, layout);
    TestPictova window;
    for (int id : hidden)
        window.config[id].state = 0;
    window.slot_AddToolMenu();
    QVERIFY(window.toolsMenu());
    QCOMPARE(menuLayout(window.toolsMenu()), layout);
    window.toolsMenu()->hide();
}

void tst_MainWindow::toolsMenuIsBuiltOnceAndOpensAddresses()
{
    TestPictova window;
    window.config[Pictova::LinkTutorial].url = "https://example.org/guide?x=1";
    window.slot_AddToolMenu();
    QMenu* menu = window.toolsMenu();
    QVERIFY(menu);
    QVERIFY(menu->isVisible());
    QCOMPARE(child<QPushButton>(&window, "pushButton_Menu")->menu(), menu);
    menu->hide();

    // A later change of the configuration does not reach the menu.
    const QStringList before = menuLayout(menu);
    window.config[Pictova::LinkContactUs].state = 0;
    window.slot_AddToolMenu();
    QCOMPARE(window.toolsMenu(), menu);
    QCOMPARE(menuLayout(menu), before);
    menu->hide();

    actionNamed(menu, "Tutorial")->trigger();
    actionNamed(menu, "Frequently Asked Questions")->trigger();
    QCOMPARE(window.opened.size(), 2);
    QCOMPARE(window.opened.at(0), QUrl("https://example.org/guide?x=1"));
    QCOMPARE(window.opened.at(1), QUrl(Pictova::builtInAddress(Pictova::LinkFaq)));

    // Each link entry has a built-in address of its own.
    QSet<QString> addresses;
    for (int id = Pictova::LinkTutorial; id <= Pictova::LinkTwitter; ++id) {
        const QUrl url(Pictova::builtInAddress(id), QUrl::StrictMode);
        QVERIFY2(url.isValid() && url.scheme() == "https", qPrintable(url.toString()));
        addresses << url.toString();
    }
    QCOMPARE(addresses.size(), 6);
}

void tst_MainWindow::aboutOpensFromTheMenu()
{
    TestPictova window;
    window.slot_AddToolMenu();
    window.toolsMenu()->hide();
    QString opened;
    AppTestSupport::answerNextModal([&opened](QWidget* modal) {
        opened = QString::fromLatin1(modal->metaObject()->className());
        modal->close();
    });
    actionNamed(window.toolsMenu(), "About")->trigger();
    QCOMPARE(opened, QStringLiteral("VNAbout"));
    QVERIFY(window.isVisible());
}

void tst_MainWindow::quitAsksAndEndsTheEventLoopWithZero()
{
    TestPictova window;
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

void tst_MainWindow::quitDeclinedKeepsTheWindow()
{
    TestPictova window;
    AppTestSupport::answerNextModal([](QWidget* modal) {
        QVERIFY(qobject_cast<TipDialog*>(modal));
        QTest::mouseClick(child<QAbstractButton>(modal, "pushButton_OK"), Qt::LeftButton);
    });
    clickButton(&window, "pushButton_Close");
    QVERIFY(window.isVisible());
}

PICTOVA_APP_TEST_MAIN(tst_MainWindow)
#include "tst_MainWindow.moc"
