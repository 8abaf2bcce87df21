#include "Pictova.h"
#include "ui_Pictova.h"

#include "API_VersionControl.h"
#include "HeicFileTable.h"
#include "MenuLinks.h"
#include "PhotoFiles.h"
#include "PhotoInfo.h"
#include "PreviewHEIC.h"
#include "SingalConverterHome.h"
#include "TipDialog.h"
#include "VNAbout.h"
#include "VNMessageBox.h"
#include "VNStyleButton.h"

#include <QAction>
#include <QApplication>
#include <QCloseEvent>
#include <QDir>
#include <QDesktopServices>
#include <QEvent>
#include <QGuiApplication>
#include <QLabel>
#include <QLoggingCategory>
#include <QMenu>
#include <QScreen>
#include <QTextOption>
#include <QTimer>

// What the window opened from its arguments or a later start; silent unless
// asked for (QT_LOGGING_RULES="pictova.window.info=true").
Q_LOGGING_CATEGORY(lcWindow, "pictova.window", QtWarningMsg)

Pictova::Pictova(QWidget* parent)
    : QMainWindow(parent)
    , ui(std::make_unique<Ui::PictovaClass>())
{
    ui->setupUi(this);
    m_singleStart = new VNStyleButton(this);
    m_batchStart = new VNStyleButton(this);
    m_singleStart->setObjectName(QStringLiteral("pushButton_SingleStart"));
    m_batchStart->setObjectName(QStringLiteral("pushButton_BatchStart"));

    initWindow();

    connect(m_singleStart, SIGNAL(clicked()), this, SLOT(slot_SinglePhotoView()));
    connect(m_batchStart, SIGNAL(clicked()), this, SLOT(slot_BatchPhotoView()));
    connect(ui->pushButton_BackHome, SIGNAL(clicked()), this, SLOT(slot_ToHome()));
    connect(ui->pushButton_Menu, SIGNAL(clicked()), this, SLOT(slot_AddToolMenu()));
    connect(ui->pushButton_Close, SIGNAL(clicked()), this, SLOT(slot_Exit()));
    connect(ui->pushButton_Min, SIGNAL(clicked()), this, SLOT(showMinimized()));

    bindDecoder();
}

Pictova::~Pictova()
{
    // Pages stop their own threads in their destructors; deleting them here,
    // before the form goes, keeps them from outliving the widgets they use.
    delete m_dropPage;
    delete m_previewPage;
    delete m_fileTable;
}

void Pictova::initWindow()
{
    resize(1010, 630);
    setMinimumSize(1010, 630);
    setMaximumSize(1010, 630);
    setWindowFlags(Qt::FramelessWindowHint);
    setWindowFlags(windowFlags() | Qt::FramelessWindowHint | Qt::WindowSystemMenuHint
                   | Qt::WindowMinMaxButtonsHint);
    // The shadow frame is drawn into the transparent five-pixel margin.
    setAttribute(Qt::WA_TranslucentBackground);

    const QString skin = m_style.skinDir();
    setWindowIcon(QIcon(skin + "/main/48x48.png"));

    ui->title_Widget->setParentWidget(this, QPoint(5, 5), true);
    ui->label_Icon->setPixmap(SkinStyle::pixmap(skin + "/main/heic_icon_26.png", devicePixelRatioF()));

    ui->pushButton_Feedback->setImages(skin + "/Button/feedback_icon_normal.png",
                                       skin + "/Button/feedback_icon_hover.png",
                                       skin + "/Button/feedback_icon_pressing.png");
    ui->pushButton_Menu->setImages(skin + "/Button/tools_icon_normal.png",
                                   skin + "/Button/tools_icon_hover.png",
                                   skin + "/Button/tools_icon_pressing.png");
    ui->pushButton_Min->setImages(skin + "/Button/mini_icon_normal.png",
                                  skin + "/Button/mini_icon_hover.png",
                                  skin + "/Button/mini_icon_pressing.png");
    ui->pushButton_Close->setImages(skin + "/Button/close_icon_normal.png",
                                    skin + "/Button/close_icon_hover.png",
                                    skin + "/Button/close_icon_pressing.png");
    ui->pushButton_BackHome->setImages(skin + "/Button/home_button_normal.png",
                                       skin + "/Button/home_button_hover.png",
                                       skin + "/Button/home_button_pressing.png");
    ui->pushButton_BackHome->setTextOption(QTextOption(Qt::AlignRight | Qt::AlignVCenter));
    ui->pushButton_BackHome->hide();
    ui->pushButton_Feedback->hide();

    ui->label_Company->setText(QStringLiteral("Vantora"));
    ui->label_Company->setFont(m_style.font(39));
    ui->label_TitleName->setText(QStringLiteral("Pictova"));
    ui->label_TitleName->setFont(m_style.font(39));

    for (VNStyleButton* start : {m_singleStart, m_batchStart}) {
        start->setFixedSize(168, 43);
        start->setImages(skin + "/Button/big_button_normal.png",
                         skin + "/Button/big_button_hover.png",
                         skin + "/Button/big_button_pressing.png");
        start->setText(tr("Start"));
        start->setStyleSheet(QStringLiteral("color:#FFFFFF"));
        start->setFont(m_style.font(39));
    }
    m_singleStart->move(210, 400);
    m_batchStart->move(635, 400);
    ui->pushButton_BackHome->setFont(m_style.font(38));

    ui->label_SignalPhoto->installEventFilter(this);
    ui->label_BatchPhoto->installEventFilter(this);

    // Centre on the primary screen's work area rather than on the whole
    // virtual desktop, so the window never straddles two monitors.
    if (const QScreen* screen = QGuiApplication::primaryScreen()) {
        const QRect area = screen->availableGeometry();
        move(area.x() + (area.width() - width()) / 2, area.y() + (area.height() - height()) / 2);
    }
    show();
}

void Pictova::bindDecoder()
{
    m_decoder = DecoderLibrary::bind().convert;
}

void Pictova::openPageHeader(const QString& title)
{
    ui->widget_Main->hide();
    m_singleStart->hide();
    m_batchStart->hide();
    ui->label_Icon->hide();
    ui->label_Company->hide();
    ui->label_TitleName->hide();
    ui->pushButton_BackHome->show();

    // One header label, re-used for every page.
    if (!m_pageTitle) {
        m_pageTitle = new QLabel(this);
        m_pageTitle->setObjectName(QStringLiteral("label_PageTitle"));
        m_pageTitle->setFont(m_style.font(39));
        m_pageTitle->setStyleSheet(QStringLiteral("color:#3598fe"));
        m_pageTitle->setMinimumSize(190, 16);
        m_pageTitle->move(422, 15);
    }
    m_pageTitle->setText(title);
    m_pageTitle->adjustSize();
    m_pageTitle->show();
    m_pageTitle->raise();
}

void Pictova::placePage(QWidget* page)
{
    page->setGeometry(ui->widget_Main->rect());
    ui->mainLayout->addWidget(page, 0);
    page->show();
    m_currentPage = page;
}

void Pictova::destroyCurrentPage()
{
    QWidget* page = m_currentPage;
    m_currentPage = nullptr;
    if (!page)
        return;
    const bool isDropPage = page == m_dropPage;
    if (isDropPage)
        m_dropPage = nullptr;
    else if (page == m_previewPage)
        m_previewPage = nullptr;
    else if (page == m_fileTable)
        m_fileTable = nullptr;
    else
        return;
    page->hide();
    ui->mainLayout->removeWidget(page);
    // The drop page is left from inside its own signal, so it must wait for
    // the event loop. The other pages go at once: their destructors stop their
    // decode threads, so no late result reaches a page that is gone.
    if (isDropPage)
        page->deleteLater();
    else
        delete page;
}

void Pictova::slot_SinglePhotoView()
{
    if (!m_dropPage) {
        m_dropPage = new SingalConverterHome(this);
        placePage(m_dropPage);
        m_dropPage->setBatchMode(false);
        openPageHeader(QStringLiteral("Conver Single Photo"));
        m_currentPage = m_dropPage;
        ui->pushButton_BackHome->setStyleSheet(
            QStringLiteral("text-align: right; color: #3598fe;margin-top:5px"));
        connect(m_dropPage, SIGNAL(signal_ToPreviewView(QString)), this,
                SLOT(slot_ToPreviewView(QString)));
    }
    m_dropPage->show();
}

void Pictova::slot_BatchPhotoView()
{
    if (!m_dropPage) {
        m_dropPage = new SingalConverterHome(this);
        placePage(m_dropPage);
        m_dropPage->setBatchMode(true);
        openPageHeader(QStringLiteral("Convert Photos in Batch"));
        m_dropPage->setSelectTipText(QStringLiteral("Select Files"));
        m_dropPage->setDropTipText(QStringLiteral("Or you can directly drop the HEIC files here."));
        m_currentPage = m_dropPage;
        connect(m_dropPage, SIGNAL(signal_addHeicFile(QVector<QString>)), this,
                SLOT(slot_addHeicFileToTable(QVector<QString>)));
    }
    m_dropPage->show();
}

void Pictova::slot_ToPreviewView(QString strFilePath)
{
    // A photo dropped on the preview page replaces the one shown. The page
    // asked through a queued connection, so it is not on the stack here.
    if (m_previewPage && m_currentPage == m_previewPage)
        destroyCurrentPage();
    if (!m_previewPage) {
        m_previewPage = new PreviewHEIC(strFilePath, this);
        m_previewPage->setGeometry(ui->widget_Main->rect());
        ui->mainLayout->addWidget(m_previewPage, 0);
        m_previewPage->setDecoderEntry(m_decoder);
        m_previewPage->slot_Preview();
        connect(m_previewPage,
                SIGNAL(signal_PhotoInfo(const QString&, const QString&, const QString&, const QString&)),
                this, SLOT(slot_PhotoInfo(const QString&, const QString&, const QString&, const QString&)));
        connect(m_previewPage, SIGNAL(signal_ToPreviewView(QString)), this,
                SLOT(slot_ToPreviewView(QString)), Qt::QueuedConnection);
    }
    destroyCurrentPage();
    m_previewPage->show();
    m_currentPage = m_previewPage;
}

void Pictova::slot_addHeicFileToTable(QVector<QString> vStrPath)
{
    // A cancelled chooser hands over nothing: the person stays where they were
    // instead of landing on an empty table.
    if (vStrPath.isEmpty() && !m_fileTable)
        return;
    // Files and folders alike: a folder brings its photos and sub-folders.
    openList(PhotoFiles::collect(QStringList(vStrPath.toList())));
}

void Pictova::openList(const PhotoFiles::Collected& collected)
{
    if (!m_fileTable) {
        if (collected.photos.isEmpty()) {
            tell(PhotoFiles::addedText(collected, 0));
            return;
        }
        openPageHeader(QStringLiteral("Convert Photos in Batch"));
        m_fileTable = new HeicFileTable(this);
        m_fileTable->setGeometry(ui->widget_Main->rect());
        ui->mainLayout->addWidget(m_fileTable);
        m_fileTable->setDecoder(m_decoder);
        destroyCurrentPage();
        m_fileTable->show();
        m_currentPage = m_fileTable;
    }
    m_fileTable->addCollected(collected);
}

void Pictova::tell(const QString& text)
{
    if (text.isEmpty())
        return;
    // Never from inside a drop: the file manager waits for the drop to end.
    QTimer::singleShot(0, this, [this, text] {
        VNMessageBox box(text, VNMessageBox::defaultTitle(), VNMessageBox::Ok, this);
        box.exec();
    });
}

void Pictova::bringToFront()
{
    if (isMinimized())
        showNormal();
    show();
    raise();
    activateWindow();
}

void Pictova::openFiles(const QStringList& paths)
{
    m_pendingFiles += paths;
    openPendingFiles();
}

bool Pictova::pageIsBusy() const
{
    return (m_fileTable && m_fileTable->isRunning()) || (m_previewPage && m_previewPage->isConverting());
}

void Pictova::openPendingFiles()
{
    if (m_pendingFiles.isEmpty())
        return;
    // A page must not change under a question the person is answering, nor
    // while it converts: the files wait until both are over.
    if (QApplication::activeModalWidget() || pageIsBusy()) {
        if (!m_pendingTimer) {
            m_pendingTimer = new QTimer(this);
            m_pendingTimer->setInterval(300);
            connect(m_pendingTimer, &QTimer::timeout, this, &Pictova::openPendingFiles);
        }
        m_pendingTimer->start();
        return;
    }
    if (m_pendingTimer)
        m_pendingTimer->stop();
    const QStringList paths = m_pendingFiles;
    m_pendingFiles.clear();

    const PhotoFiles::Collected collected = PhotoFiles::collect(paths);
    // A list open (or about to be, on the batch drop page) takes them all.
    const bool toList = m_fileTable || (m_dropPage && m_dropPage->isBatchMode())
                        || collected.photos.size() > 1 || collected.fromFolder;
    if (!collected.photos.isEmpty()) {
        QStringList photos;
        for (const InputScanner::Photo& photo : collected.photos)
            photos << photo.path;
        qCInfo(lcWindow).noquote() << (toList ? "list:" : "preview:") << photos.join(QLatin1Char(' '));
    }
    if (toList) {
        openList(collected);
        return;
    }
    if (!collected.photos.isEmpty()) {
        // The preview page of another photo, or a drop page, makes way.
        destroyCurrentPage();
        openPageHeader(QStringLiteral("Conver Single Photo"));
        ui->pushButton_BackHome->setStyleSheet(
            QStringLiteral("text-align: right; color: #3598fe;margin-top:5px"));
        slot_ToPreviewView(collected.photos.first().path);
    }
    tell(PhotoFiles::notTakenText(collected));
}

void Pictova::slot_ToHome()
{
    // The batch page goes with its list: a person who collected photos is
    // asked before they are dropped.
    if (m_currentPage && m_currentPage == m_fileTable && !m_fileTable->files().isEmpty()) {
        TipDialog tip(this);
        tip.setLeaveListTip(m_fileTable->files().size());
        if (tip.exec() != QDialog::Accepted)
            return;
    }
    destroyCurrentPage();
    ui->widget_Main->show();
    m_singleStart->show();
    m_batchStart->show();
    if (m_pageTitle)
        m_pageTitle->hide();
    ui->label_Icon->show();
    ui->label_Company->show();
    ui->label_TitleName->show();
    ui->pushButton_BackHome->hide();
}

void Pictova::slot_PhotoInfo(const QString& strName, const QString& strCreateDate,
                             const QString& strFileSize, const QString& strResolution)
{
    if (!m_photoInfo)
        m_photoInfo = new PhotoInfo(this);
    // The dialog is kept, so every request fills it again: it always shows
    // the photo on screen now, never the first one it was opened for.
    m_photoInfo->setCreatedDate(strCreateDate);
    m_photoInfo->setName(strName);
    m_photoInfo->setFileSize(strFileSize);
    m_photoInfo->setResolution(strResolution);
    m_photoInfo->exec();
}

void Pictova::slot_Exit()
{
    if (!m_exitTip) {
        m_exitTip = new TipDialog(this);
        m_exitTip->setQuitTip();
        connect(m_exitTip, SIGNAL(signal_ExitApp()), this, SLOT(slot_QuitConfirmed()));
    }
    // Alt+F4 during the question must not stack a second one.
    if (!m_exitTip->isVisible())
        m_exitTip->exec();
}

void Pictova::slot_QuitConfirmed()
{
    m_quitConfirmed = true;
    close();
}

void Pictova::closeEvent(QCloseEvent* event)
{
    // Every way to close (title bar, menu, Alt+F4, the window manager) goes
    // through the same question; only its "Yes" lets the window go. Asked
    // from here, the Yes's own close() returns at once (Qt is closing this
    // window already), so the answer is taken up here.
    if (!m_quitConfirmed)
        slot_Exit();
    if (m_quitConfirmed)
        QMainWindow::closeEvent(event);
    else
        event->ignore();
}

void Pictova::queryMenuEntry(int id, int* state, QString* url)
{
    LL::API_VersionControl config;
    wchar_t text[260] = {};
    config.GetMenuStateAndURL(id, state, text);
    *url = QString::fromWCharArray(text);
}

QUrl Pictova::linkTarget(int id, bool reportRefusal)
{
    int state = 1;
    QString url;
    queryMenuEntry(id, &state, &url);
    return MenuLinks::target(id, url, reportRefusal);
}

void Pictova::buildToolsMenu()
{
    m_toolsMenu = std::make_unique<QMenu>();
    QMenu* menu = m_toolsMenu.get();
    // The menu is a window of its own, so it does not inherit the card's
    // look; it gets the program's white, blue-accented style here.
    menu->setFont(m_style.font(0));
    menu->setStyleSheet(QStringLiteral(
        "QMenu { background-color: #ffffff; border: 1px solid #dddddd; padding: 6px 0px; }"
        "QMenu::item { color: #484848; padding: 7px 28px 7px 20px; background: transparent; }"
        "QMenu::item:selected { background-color: rgb(234, 244, 255); color: #3598fe; }"
        "QMenu::separator { height: 1px; background: #eeeeee; margin: 5px 12px; }"));
    m_actTutorial = new QAction(tr("Tutorial"), menu);
    m_actFaq = new QAction(tr("Frequently Asked Questions"), menu);
    m_actReview = new QAction(tr("Write a Product Review"), menu);
    m_actContactUs = new QAction(tr("Contact Us"), menu);
    m_actFacebook = new QAction(tr("View Facebook Fan Page"), menu);
    m_actTwitter = new QAction(tr("Follow Us on Twitter"), menu);
    m_actAbout = new QAction(tr("About"), menu);
    m_actExit = new QAction(tr("Exit"), menu);

    int state = 1;
    QString url;
    const struct {
        int id;
        QAction* action;
    } links[] = {{LinkTutorial, m_actTutorial},   {LinkFaq, m_actFaq},
                 {LinkReview, m_actReview},       {LinkContactUs, m_actContactUs},
                 {LinkFacebook, m_actFacebook},   {LinkTwitter, m_actTwitter}};
    for (const auto& link : links) {
        queryMenuEntry(link.id, &state, &url);
        // An entry with nothing to open (no shipped page, no web address in
        // the configuration) is left out rather than shown dead.
        if (state != 1 || MenuLinks::target(link.id, url, false).isEmpty())
            continue;
        menu->addAction(link.action);
        // Separators close the help group and the social group, and only
        // when their last entry is there.
        if (link.id == LinkContactUs || link.id == LinkTwitter)
            menu->addSeparator();
    }
    menu->addAction(m_actAbout);
    menu->addAction(m_actExit);

    ui->pushButton_Menu->setMenu(menu);
    connect(m_actTutorial, SIGNAL(triggered()), this, SLOT(slot_TutorialURL()));
    connect(m_actFaq, SIGNAL(triggered()), this, SLOT(slot_Frequently_Asked_QuestionsURL()));
    connect(m_actReview, SIGNAL(triggered()), this, SLOT(slot_WriteProductReviewURL()));
    connect(m_actContactUs, SIGNAL(triggered()), this, SLOT(slot_ContactUsURL()));
    connect(m_actFacebook, SIGNAL(triggered()), this, SLOT(slot_FacebookURL()));
    connect(m_actTwitter, SIGNAL(triggered()), this, SLOT(slot_FollowUS()));
    connect(m_actAbout, SIGNAL(triggered()), this, SLOT(slot_About()));
    connect(m_actExit, SIGNAL(triggered()), this, SLOT(slot_Exit()));
}

void Pictova::slot_AddToolMenu()
{
    if (!m_toolsMenu)
        buildToolsMenu();
    const QPushButton* button = ui->pushButton_Menu;
    m_toolsMenu->popup(QPoint(button->x() + x() + 5, button->y() + y() + button->height() + 8));
}

void Pictova::openMenuLink(int id)
{
    const QUrl target = linkTarget(id, true);
    if (target.isEmpty() || openUrl(target))
        return;
    // No browser (or no opener for local pages): the person can still copy
    // the address into one.
    const QString address = target.isLocalFile() ? QDir::toNativeSeparators(target.toLocalFile())
                                                 : target.toString();
    qWarning("Pictova: could not open %s", qUtf8Printable(address));
    VNMessageBox box(tr("No web browser could be started. Open this page yourself:") + "\n" + address,
                     VNMessageBox::defaultTitle(), VNMessageBox::Ok, this);
    box.exec();
}

bool Pictova::openUrl(const QUrl& url)
{
    return QDesktopServices::openUrl(url);
}

void Pictova::slot_TutorialURL() { openMenuLink(LinkTutorial); }
void Pictova::slot_Frequently_Asked_QuestionsURL() { openMenuLink(LinkFaq); }
void Pictova::slot_WriteProductReviewURL() { openMenuLink(LinkReview); }
void Pictova::slot_ContactUsURL() { openMenuLink(LinkContactUs); }
void Pictova::slot_FacebookURL() { openMenuLink(LinkFacebook); }
void Pictova::slot_FollowUS() { openMenuLink(LinkTwitter); }

void Pictova::slot_About()
{
    VNAbout about(this);
    about.exec();
}

bool Pictova::eventFilter(QObject* watched, QEvent* event)
{
    const char* hover = nullptr;
    const char* normal = nullptr;
    if (watched == ui->label_SignalPhoto) {
        hover = "/main/module1_bg_hover.png";
        normal = "/main/module1_normal.png";
    } else if (watched == ui->label_BatchPhoto) {
        hover = "/main/module2_bg_hover.png";
        normal = "/main/module2_normal.png";
    }
    if (hover) {
        auto* tile = static_cast<QWidget*>(watched);
        if (event->type() == QEvent::Enter)
            tile->setStyleSheet("background-image: url(" + m_style.skinDir() + hover + ");");
        else if (event->type() == QEvent::Leave)
            tile->setStyleSheet("background-image: url(" + m_style.skinDir() + normal + ");");
    }
    return QMainWindow::eventFilter(watched, event);
}

void Pictova::paintEvent(QPaintEvent* event)
{
    m_shadow.paint(this);
    QMainWindow::paintEvent(event);
}
