// The main window: its pages, the photo information, the tools menu and
// quitting; and a batch from a drop to the JPEG files on disk through the
// real decoding library.
#include "TestSandbox.h"

#include "HeicFileTable.h"
#include "EngineTestSupport.h"
#include "HeicFixture.h"
#include "Pictova.h"
#include "PreviewHEIC.h"
#include "SavedChoices.h"
#include "SingalConverterHome.h"

#include <QAbstractButton>
#include <QCheckBox>
#include <QComboBox>
#include <QDirIterator>
#include <QSignalSpy>
#include <QSlider>
#include <QAction>
#include <QDialog>
#include <QLabel>
#include <QMenu>
#include <QMimeData>
#include <QPointer>
#include <QtTest>

#include <functional>
#include <memory>

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
    // Every test starts as a first start does: no choices kept from before.
    void init() { SavedChoices::forget(); }

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

    // Files handed to the window (its arguments, a later start): one photo
    // alone opens its preview; a folder opens a list of its photos, sub-
    // folders included, and says what it left out; later ones join the
    // list. Under an open question the page stays until it is answered.
    void handedFilesOpenWhereTheyBelong()
    {
        TestPictova window;
        QDialog question(&window);
        answerNextModal([&](QWidget* modal) {
            window.openFiles({m_photo});
            QCoreApplication::processEvents();
            QVERIFY(!window.currentPage());
            modal->close();
        });
        question.exec();
        QTRY_VERIFY(qobject_cast<PreviewHEIC*>(window.currentPage()));
        QCOMPARE(qobject_cast<PreviewHEIC*>(window.currentPage())->filePath(), m_photo);

        QTemporaryDir folder;
        QDir(folder.path()).mkpath("sub");
        for (const char* name : {"x.heic", "sub/y.HIF"})
            QVERIFY(HeicFixture::write(folder.filePath(name), HeicFixture::quadrants(16, 16)));
        QFile(folder.filePath("notes.txt")).open(QIODevice::WriteOnly);
        QString said;
        answerNextModal([&said](QWidget* modal) {
            for (const QLabel* label : modal->findChildren<QLabel*>())
                said += label->text();
            modal->close();
        });
        window.openFiles({folder.path()});
        auto* table = qobject_cast<HeicFileTable*>(window.currentPage());
        QVERIFY(table);
        QCOMPARE(table->files().size(), 2);
        QTRY_VERIFY2(said.contains("2 photos were added") && said.contains("1 file was left out"), qPrintable(said));
        window.openFiles({m_photo});
        QCOMPARE(window.currentPage(), table);
        QCOMPARE(table->files().size(), 3);
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

    // A folder tree and two photos dropped together on the batch page,
    // converted with the settings as they come: the folder's photos keep
    // their sub-folders below the output folder, the others go flat; five
    // whole JPEGs with their dates.
    void batchFromDropToJpegs()
    {
        const QByteArray date = "2024:05:17 10:11:12";
        HeicFixtureOptions options;
        options.exifTiff = HeicFixture::exifBlock(1, date);
        const QStringList photos{"card/a.HEIC", "card/DCIM/b.heic", "card/DCIM/100/c.HIF", "IMG_B1.HEIC", "IMG_B2.HEIC"};
        const QStringList written{"a.jpg", "DCIM/b.jpg", "DCIM/100/c.jpg", "IMG_B1.jpg", "IMG_B2.jpg"};
        for (int i = 0; i < photos.size(); ++i) {
            const QString path = m_photos.filePath(photos.at(i));
            QVERIFY(QDir().mkpath(QFileInfo(path).path()));
            QVERIFY(HeicFixture::write(path, HeicFixture::gradient(96 + 16 * i, 64), options));
        }
        Pictova window;
        if (!window.decoder())
            QSKIP("the decoding library is not beside the tests");
        click(&window, "pushButton_BatchStart");
        QWidget* drop = window.currentPage();
        QMimeData mime;
        mime.setUrls({QUrl::fromLocalFile(m_photos.filePath("card")), QUrl::fromLocalFile(m_photos.filePath("IMG_B1.HEIC")),
                      QUrl::fromLocalFile(m_photos.filePath("IMG_B2.HEIC"))});
        QDragEnterEvent enter(drop->rect().center(), Qt::CopyAction, &mime, Qt::LeftButton, Qt::NoModifier);
        QApplication::sendEvent(drop, &enter);
        QVERIFY(enter.isAccepted());
        QString said;
        answerNextModal([&said](QWidget* box) {
            said = box->findChild<QLabel*>("label")->text();
            box->close();
        }, "VNMessageBox");
        QDropEvent dropped(drop->rect().center(), Qt::CopyAction, &mime, Qt::LeftButton, Qt::NoModifier);
        QApplication::sendEvent(drop, &dropped);
        auto* table = qobject_cast<HeicFileTable*>(window.currentPage());
        QVERIFY(table && table->tickedRows().size() == 5);
        QTRY_VERIFY(said.contains("5 photos were added"));

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
        QStringList found;
        for (QDirIterator it(out, QDir::Files | QDir::Hidden, QDirIterator::Subdirectories); it.hasNext();)
            found << QDir(out).relativeFilePath(it.next());
        found.sort();
        QStringList expected = written;
        expected.sort();
        QCOMPARE(found, expected); // nothing half-written beside them
        for (int i = 0; i < written.size(); ++i) {
            QFile file(out + "/" + written.at(i));
            QVERIFY(file.open(QIODevice::ReadOnly));
            const QByteArray jpeg = file.readAll();
            QVERIFY(jpeg.contains(date));
            QCOMPARE(QImage::fromData(jpeg, "JPG").size(), QSize(96 + 16 * i, 64));
        }
    }

    // The choices made for one photo hold for the next photo, for the batch
    // and after a restart. Beside the photo, a camera's own JPEG of that
    // name stays; the smaller JPEG carries the date but not the location.
    void choicesHoldAcrossPhotosFlowsAndRestarts()
    {
        QTemporaryDir camera;
        const QString photo = camera.filePath("DSC_0042.HIF");
        HeicFixtureOptions options;
        options.exifTiff = HeicFixture::exifBlock(1, "2023:03:04 05:06:07");
        QVERIFY(HeicFixture::write(photo, HeicFixture::gradient(160, 120), options));
        QVERIFY(EngineTest::writeFile(camera.filePath("DSC_0042.JPG"), "the camera's own"));
        auto window = std::make_unique<TestPictova>();
        if (!window->decoder())
            QSKIP("the decoding library is not beside the tests");
        window->openFiles({photo});
        auto* preview = qobject_cast<PreviewHEIC*>(window->currentPage());
        QVERIFY(preview);
        QTRY_VERIFY_WITH_TIMEOUT(preview->isPreviewShown(), 20000);
        preview->findChild<QSlider*>("Slider_PhotoQuality")->setValue(70);
        preview->findChild<QCheckBox*>("checkBox_Shrink")->setChecked(true);
        preview->findChild<QComboBox*>("comboBox_MaxSize")->setCurrentText("40");
        preview->findChild<QCheckBox*>("checkBox_KeepLocation")->setChecked(false);
        preview->findChild<QCheckBox*>("checkBox_BesidePhoto")->setChecked(true);
        QSignalSpy saved(preview, &PreviewHEIC::signal_JpgSaved);
        answerNextModal([](QWidget* dialog) { dialog->close(); }, "SingleConverting");
        click(preview, "pushButton_Convert");
        QTRY_COMPARE_WITH_TIMEOUT(saved.count(), 1, 20000);
        QCOMPARE(saved.at(0).at(0).toString(), camera.filePath("DSC_0042 (2).jpg"));
        QCOMPARE(EngineTest::readFile(camera.filePath("DSC_0042.JPG")), QByteArray("the camera's own"));
        const QByteArray jpeg = EngineTest::readFile(camera.filePath("DSC_0042 (2).jpg"));
        QCOMPARE(QImage::fromData(jpeg, "JPG").size(), QSize(40, 30));
        QVERIFY(jpeg.contains("2023:03:04 05:06:07"));
        QVERIFY(!jpeg.contains(HeicFixture::gpsLatitude()));

        click(window.get(), "pushButton_BackHome");
        window->openFiles({photo, m_photo});
        auto* table = qobject_cast<HeicFileTable*>(window->currentPage());
        QVERIFY(table);
        int sliderShown = -1;
        answerNextModal([&sliderShown](QWidget* settings) {
            sliderShown = settings->findChild<QSlider*>("Slider")->value();
            settings->close();
        }, "ConvertsionSet");
        click(table, "pushButton_Convert");
        QCOMPARE(sliderShown, 70);
        QVERIFY(table->besidePhotos() && table->options().maxLongSide == 40 && !table->options().keepLocation);

        window.reset();
        TestPictova restarted;
        restarted.openFiles({m_photo});
        auto* again = qobject_cast<PreviewHEIC*>(restarted.currentPage());
        QVERIFY(again);
        QCOMPARE(again->quality(), 70);
        QVERIFY(again->besidePhoto() && again->options().maxLongSide == 40);
    }
};

PICTOVA_TEST_MAIN(tst_MainWindow)
#include "tst_MainWindow.moc"
