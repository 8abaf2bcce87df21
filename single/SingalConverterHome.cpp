#include "SingalConverterHome.h"
#include "ui_SingalConverterHome.h"

#include <QDragEnterEvent>
#include <QDropEvent>
#include <QFileDialog>
#include <QMimeData>
#include <QUrl>

namespace {
// Endings are compared on the last five characters, case-sensitively, so a
// mixed spelling such as ".Heic" never passes.
QString ending(const QString& path)
{
    return path.right(5);
}
} // namespace

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

bool SingalConverterHome::singleDropAccepts(const QString& path)
{
    const QString end = ending(path);
    return end == QLatin1String(".HEIC") || end == QLatin1String(".heic");
}

bool SingalConverterHome::batchDropAccepts(const QString& path)
{
    return ending(path) == QLatin1String(".HEIC");
}

bool SingalConverterHome::singleChooserAccepts(const QString& path)
{
    return ending(path) == QLatin1String(".HEIC");
}

void SingalConverterHome::slot_SelectHEIC()
{
    if (m_batchMode) {
        const QStringList chosen = chooseHeicFiles();
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
    if (path.isEmpty() || !singleChooserAccepts(path))
        return;
    m_currentFile = path;
    emit signal_ToPreviewView(path);
}

QStringList SingalConverterHome::chooseHeicFiles()
{
    return QFileDialog::getOpenFileNames(this, tr("Choose Images"), QStringLiteral("."),
                                         tr("Image Files(*.HEIC)"));
}

QString SingalConverterHome::chooseHeicFile()
{
    return QFileDialog::getOpenFileName(this, tr("Choose Image"), QStringLiteral("."),
                                        tr("Image Files(*.HEIC)"));
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

    if (!m_batchMode) {
        // Only the first file counts; the preview shows one photo.
        const QString path = urls.first().toLocalFile();
        if (!singleDropAccepts(path))
            return;
        m_currentFile = path;
        emit signal_ToPreviewView(path);
        return;
    }

    // One unsuitable file refuses the whole drop, so the user is not left
    // guessing which of the dropped files made it into the table.
    QVector<QString> paths;
    paths.reserve(urls.size());
    for (const QUrl& url : urls) {
        const QString path = url.toLocalFile();
        if (!batchDropAccepts(path))
            return;
        m_currentFile = path;
        paths.append(path);
    }
    emit signal_addHeicFile(paths);
}

bool SingalConverterHome::eventFilter(QObject* watched, QEvent* event)
{
    return QWidget::eventFilter(watched, event);
}
