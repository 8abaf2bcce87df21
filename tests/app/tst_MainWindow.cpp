// The main window: its pages, the photo information, the tools menu and
// quitting; and a batch from a drop to the JPEG files on disk through the
// real decoding library.
#include "TestSandbox.h"

#include "HeicFileTable.h"
#include "HeicFixture.h"
#include "Pictova.h"
#include "PreviewHEIC.h"
#include "SingalConverterHome.h"

#include <QAbstractButton>
#include <QAction>
#include <QDialog>
#include <QLabel>
#include <QMenu>
#include <QMimeData>
#include <QPointer>
#include <QtTest>

#include <functional>

namespace {

// The window with its menu configuration from the test and web addresses
// recorded instead of opened.
class TestPictova : public Pictova
{
public:
    QMap<int, QString> urls;
    QMap<int, int> states; // 1 unless set
    QList<QUrl> opened;
    bool browserStarts = true;

    void queryMenuEntry(int id, int* state, QString* url) override
    {
        *state = states.value(id, 1);
        *url = urls.value(id);
    }

protected:
    bool openUrl(const QUrl& url) override
    {
        opened << url;
        return browserStarts;
    }
};

// Runs `answer` on the next modal dialog (of `className`, when given) from
// inside the event loop its exec() runs; the answer must close it.
void answerNextModal(std::function<void(QWidget*)> answer, const char* className = nullptr, int timeoutMs = 10000)
{
    QTimer::singleShot(10, [=] {
        QWidget* modal = QApplication::activeModalWidget();
        if (modal && modal->isVisible() && (!className || modal->metaObject()->className() == QByteArray(className)))
            answer(modal);
        else if (timeoutMs > 0)
            answerNextModal(answer, className, timeoutMs - 10);
    });
}

QAbstractButton* button(const QWidget* window, const char* name)
{
    return window->findChild<QAbstractButton*>(QString::fromLatin1(name));
}

void click(const QWidget* window, const char* name)
{
    QAbstractButton* target = button(window, name);
    QVERIFY2(target && target->isVisible(), name);
    QTest::mouseClick(target, Qt::LeftButton);
}

QAction* action(const QMenu* menu, const QString& text)
{
    for (QAction* entry : menu->actions())
        if (entry->text() == text)
            return entry;
    return nullptr;
}

} // namespace

class tst_MainWindow : public QObject
{
    Q_OBJECT

    QTemporaryDir m_photos;
    QString m_photo;

private slots:
    void initTestCase()
    {
        QVERIFY(m_photos.isValid());
        m_photo = m_photos.filePath("IMG_0001.HEIC");
        QVERIFY(HeicFixture::write(m_photo, HeicFixture::quadrants(256, 192)));
    }

    // Each visit builds its pages anew and leaving deletes them: a page kept
    // from before would show the last visit's photos.
    void pagesAreNewEveryVisit_data()
    {
        QTest::addColumn<bool>("batch");
        QTest::newRow("single") << false;
        QTest::newRow("batch") << true;
    }

    void pagesAreNewEveryVisit()
    {
        QFETCH(bool, batch);
        TestPictova window;
        for (int visit = 0; visit < 2; ++visit) {
            click(&window, batch ? "pushButton_BatchStart" : "pushButton_SingleStart");
            QPointer<SingalConverterHome> drop = qobject_cast<SingalConverterHome*>(window.currentPage());
            QVERIFY(drop && drop->isBatchMode() == batch);
            if (batch) {
                emit drop->signal_addHeicFile({}); // chooser cancelled: the drop page stays
                QCOMPARE(window.currentPage(), drop.data());
                emit drop->signal_addHeicFile({m_photo, m_photo});
                auto* table = qobject_cast<HeicFileTable*>(window.currentPage());
                QVERIFY(table && table->files().size() == 1);
            } else {
                emit drop->signal_ToPreviewView(m_photo);
                auto* preview = qobject_cast<PreviewHEIC*>(window.currentPage());
                QVERIFY(preview && preview->filePath() == m_photo);
            }
            QPointer<QWidget> next = window.currentPage();
            QVERIFY(next->isVisible());
            QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
            QVERIFY2(drop.isNull(), "the drop page outlived the switch");
            if (batch) { // a list is not dropped without asking: "No" keeps it
                answerNextModal([](QWidget* tip) { button(tip, "pushButton_OK")->click(); }, "TipDialog");
                click(&window, "pushButton_BackHome");
                QCOMPARE(window.currentPage(), next.data());
                answerNextModal([](QWidget* tip) { button(tip, "pushButton_Yes")->click(); }, "TipDialog");
            }
            click(&window, "pushButton_BackHome");
            QVERIFY2(next.isNull(), "the page outlived going home");
            QVERIFY(!window.currentPage() && button(&window, "pushButton_SingleStart")->isVisible());
        }
    }

    void photoInfoShowsTheCurrentPhotoEveryTime()
    {
        TestPictova window;
        const QList<QStringList> photos{{"a.HEIC", "01-02-2024", "1.50MB", "4032*3024"},
                                        {"b.heic", "12-31-2023", "0.25MB", ""}};
        QList<QStringList> shown;
        for (const QStringList& photo : photos) {
            answerNextModal([&shown](QWidget* dialog) {
                QStringList texts;
                for (const char* name : {"label_NameValue", "label_CreateDateValue", "label_FileSizeValue",
                                         "label_ResolutionValue"})
                    texts << dialog->findChild<QLabel*>(name)->text();
                shown << texts;
                click(dialog, "pushButton_Ok");
            }, "PhotoInfo");
            window.slot_PhotoInfo(photo[0], photo[1], photo[2], photo[3]);
        }
        QCOMPARE(shown, photos);
    }

    // An entry switched off or without an address is left out; the help
    // pages that ship with the program are always there. A link the browser
    // cannot open is shown to the person instead.
    void toolsMenuOffersWhatLeadsSomewhere()
    {
        TestPictova window;
        window.urls[Pictova::LinkReview] = "https://example.org/review";
        window.urls[Pictova::LinkContactUs] = "https://example.org/contact";
        window.states[Pictova::LinkContactUs] = 0;
        window.slot_AddToolMenu();
        QMenu* menu = window.toolsMenu();
        menu->hide();
        QStringList entries;
        for (const QAction* entry : menu->actions())
            if (!entry->isSeparator())
                entries << entry->text();
        QCOMPARE(entries, QStringList({"Tutorial", "Frequently Asked Questions", "Write a Product Review", "About", "Exit"}));

        window.browserStarts = false;
        QString said;
        answerNextModal([&said](QWidget* modal) {
            for (const QLabel* label : modal->findChildren<QLabel*>())
                said += label->text();
            modal->close();
        });
        QTest::ignoreMessage(QtWarningMsg, "Pictova: could not open https://example.org/review");
        action(menu, "Write a Product Review")->trigger();
        QCOMPARE(window.opened, QList<QUrl>{QUrl("https://example.org/review")});
        QVERIFY2(said.contains("https://example.org/review"), qPrintable(said));
    }

    // Alt+F4, the title bar and Exit all ask first: "No" keeps the program,
    // "Yes" ends its event loop with 0.
    void quittingAsksFirst()
    {
        TestPictova window;
        answerNextModal([](QWidget* modal) { click(modal, "pushButton_OK"); });
        QVERIFY(!window.close());
        answerNextModal([](QWidget* modal) { click(modal, "pushButton_OK"); });
        click(&window, "pushButton_Close");
        QVERIFY(window.isVisible());

        window.slot_AddToolMenu();
        window.toolsMenu()->hide();
        answerNextModal([](QWidget* modal) { click(modal, "pushButton_Yes"); });
        QTimer::singleShot(0, action(window.toolsMenu(), "Exit"), &QAction::trigger);
        QTimer watchdog; // a quit that does not end the loop fails instead of hanging
        connect(&watchdog, &QTimer::timeout, [] { QCoreApplication::exit(99); });
        watchdog.start(30000);
        QCOMPARE(QApplication::exec(), 0);
        QVERIFY(!window.isVisible());
    }

    // Five photos dropped on the batch page, converted with the settings as
    // they come: five whole JPEGs with their dates in the desktop's folder.
    void batchFromDropToJpegs()
    {
        const QByteArray date = "2024:05:17 10:11:12";
        HeicFixtureOptions options;
        options.exifTiff = HeicFixture::exifBlock(1, date);
        QList<QUrl> urls;
        for (int i = 1; i <= 5; ++i) {
            const QString path = m_photos.filePath(QStringLiteral("IMG_B%1.HEIC").arg(i));
            QVERIFY(HeicFixture::write(path, HeicFixture::gradient(96 + 16 * i, 64), options));
            urls << QUrl::fromLocalFile(path);
        }
        Pictova window;
        if (!window.decoder())
            QSKIP("the decoding library is not beside the tests");
        click(&window, "pushButton_BatchStart");
        QWidget* drop = window.currentPage();
        QMimeData mime;
        mime.setUrls(urls);
        QDragEnterEvent enter(drop->rect().center(), Qt::CopyAction, &mime, Qt::LeftButton, Qt::NoModifier);
        QApplication::sendEvent(drop, &enter);
        QVERIFY(enter.isAccepted());
        QDropEvent dropped(drop->rect().center(), Qt::CopyAction, &mime, Qt::LeftButton, Qt::NoModifier);
        QApplication::sendEvent(drop, &dropped);
        auto* table = qobject_cast<HeicFileTable*>(window.currentPage());
        QVERIFY(table && table->tickedRows().size() == 5);

        QString progress;
        answerNextModal([&progress](QWidget* settings) {
            answerNextModal([&progress](QWidget* dialog) {
                const QLabel* count = dialog->findChild<QLabel*>("label_Progress");
                const bool done = QTest::qWaitFor([count] { return count->text() == "5/5"; }, 60000);
                progress = count->text();
                if (done)
                    click(dialog, "pushButton_OK");
                else
                    static_cast<QDialog*>(dialog)->done(QDialog::Rejected);
            }, "BatchConvertProgress");
            click(settings, "pushButton_Convert");
        }, "ConvertsionSet");
        click(table, "pushButton_Convert");
        QTRY_VERIFY_WITH_TIMEOUT(!progress.isEmpty(), 90000);
        QCOMPARE(progress, QStringLiteral("5/5"));

        const QString out = QStandardPaths::writableLocation(QStandardPaths::DesktopLocation) + "/Vantora";
        QCOMPARE(QDir(out).entryList(QDir::Files | QDir::Hidden).size(), 5); // nothing half-written beside them
        for (int i = 1; i <= 5; ++i) {
            QFile file(QStringLiteral("%1/IMG_B%2.jpg").arg(out).arg(i));
            QVERIFY(file.open(QIODevice::ReadOnly));
            const QByteArray jpeg = file.readAll();
            QVERIFY(jpeg.contains(date));
            QCOMPARE(QImage::fromData(jpeg, "JPG").size(), QSize(96 + 16 * i, 64));
        }
    }
};

PICTOVA_TEST_MAIN(tst_MainWindow)
#include "tst_MainWindow.moc"
