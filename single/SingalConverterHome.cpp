#include "SingalConverterHome.h"
#include "ui_SingalConverterHome.h"

#include "PhotoFiles.h"
#include "VNMessageBox.h"

#include <QDragEnterEvent>
#include <QDropEvent>
#include <QFileDialog>
#include <QMimeData>
#include <QUrl>

SingalConverterHome::SingalConverterHome(QWidget* parent)
    : QWidget(parent)
    , ui(new Ui::SingalConverterHome)
{
    ui->setupUi(this);

    ui->label_SelectTip->setFont(m_skin.font(17)); // bold 18 px
    ui->label_DropTip->setFont(m_skin.font(0));    // regular 14 px

    const QString skinDir = m_skin.skinDir();
    ui->pushButton_SelectPhoto->setImages(skinDir + "/Button/file_add_normal.png",
                                          skinDir + "/Button/file_add_hover.png",
                                          skinDir + "/Button/file_add_pressing.png", QString());

    setAcceptDrops(true);
    ui->widget_SingleMain->setAcceptDrops(true);
    ui->widget_SelectPhoto->installEventFilter(this);

    connect(ui->pushButton_SelectPhoto, SIGNAL(clicked()), this, SLOT(slot_SelectHEIC()));
}

SingalConverterHome::~SingalConverterHome()
{
    delete ui;
}

void SingalConverterHome::setBatchMode(bool batchMode)
{
    m_batchMode = batchMode;
}

void SingalConverterHome::setSelectTipText(const QString& text)
{
    ui->label_SelectTip->setText(text);
}

void SingalConverterHome::setDropTipText(const QString& text)
{
    ui->label_DropTip->setText(text);
}

void SingalConverterHome::slot_SelectHEIC()
{
    if (m_batchMode) {
        const QStringList chosen = chooseHeicFiles();
        if (!chosen.isEmpty())
            PhotoFiles::rememberFolder(chosen.last());
        QVector<QString> paths;
        paths.reserve(chosen.size());
        for (const QString& path : chosen)
            paths.append(path);
        // Sent even when the dialog was cancelled: the table treats an empty
        // list as "nothing to add".
        emit signal_addHeicFile(paths);
        return;
    }

    const QString path = chooseHeicFile();
    if (path.isEmpty())
        return;
    PhotoFiles::rememberFolder(path);
    // Whatever the chooser offered goes to the preview, which says plainly
    // when a file is no photo it can read.
    m_currentFile = path;
    emit signal_ToPreviewView(path);
}

QStringList SingalConverterHome::chooseHeicFiles()
{
    return QFileDialog::getOpenFileNames(this, tr("Choose Images"), PhotoFiles::startFolder(),
                                         PhotoFiles::nameFilter());
}

QString SingalConverterHome::chooseHeicFile()
{
    return QFileDialog::getOpenFileName(this, tr("Choose Image"), PhotoFiles::startFolder(),
                                        PhotoFiles::nameFilter());
}

void SingalConverterHome::dragEnterEvent(QDragEnterEvent* event)
{
    if (event->mimeData()->hasFormat(QStringLiteral("text/uri-list")))
        event->acceptProposedAction();
}

void SingalConverterHome::dropEvent(QDropEvent* event)
{
    acceptDroppedUrls(event->mimeData());
}

void SingalConverterHome::acceptDroppedUrls(const QMimeData* mimeData)
{
    const QList<QUrl> urls = mimeData->urls();
    if (urls.isEmpty())
        return;

    // Whatever a drop leaves out is named, so the person is not left
    // guessing why the page shows less than was dropped.
    if (!m_batchMode) {
        // The preview shows one photo: the first one dropped.
        int leftOut = 0;
        QString note;
        const QString photo = PhotoFiles::firstPhoto(urls, &note, &leftOut);
        tellLeftOut(note, leftOut);
        if (photo.isEmpty())
            return;
        m_currentFile = photo;
        emit signal_ToPreviewView(m_currentFile);
        return;
    }

    // Files and folders go on as they are: the list takes a folder's photos
    // with its sub-folders and says what it added and left out.
    QVector<QString> paths;
    int notLocal = 0;
    for (const QUrl& url : urls) {
        if (url.toLocalFile().isEmpty())
            ++notLocal;
        else
            paths.append(url.toLocalFile());
    }
    tellLeftOut(notLocal > 0 ? PhotoFiles::leftOutText(notLocal) : QString(), notLocal);
    if (paths.isEmpty())
        return;
    m_currentFile = paths.last();
    emit signal_addHeicFile(paths);
}

void SingalConverterHome::tellLeftOut(const QString& note, int leftOut)
{
    if (leftOut <= 0)
        return;
    // Over the window, since this page may be gone by then.
    VNMessageBox::tellLater(window(), note);
    emit signal_FilesLeftOut(leftOut);
}

bool SingalConverterHome::eventFilter(QObject* watched, QEvent* event)
{
    return QWidget::eventFilter(watched, event);
}
