#include "PreviewHEIC.h"
#include "ui_PreviewHEIC.h"

#include "AtomicFileWriter.h"
#include "ConversionChoices.h"
#include "FolderView.h"
#include "OutputNaming.h"
#include "PhotoFiles.h"
#include "Platform.h"
#include "SingleConverting.h"
#include "StyleHelpers.h"
#include "VNMessageBox.h"
#include "WorkingCaption.h"

#include <QCheckBox>
#include <QCoreApplication>
#include <QDateTime>
#include <QDir>
#include <QDragEnterEvent>
#include <QDropEvent>
#include <QEvent>
#include <QFileDialog>
#include <QFileInfo>
#include <QMimeData>
#include <QStandardPaths>

namespace {
const char kSliderStyle[] =
    "QSlider::groove:horizontal {border: 0px solid #4A708B; background: #3598FE; height: 5px;"
    "border-radius: 2px; padding-left: -1px; padding-right:-1px;left: 13px; right: 13px;}"
    "QSlider::sub-page:horizontal{background: qlineargradient(x1 : 0, y1 : 0, x2 : 0, y2 : 1,"
    "stop : 0 #B1B1B1, stop:1 #c4c4c4);background: qlineargradient(x1 : 0, y1 : 0.2, x2 : 1, "
    "y2 : 1,stop : 0 #5DCCFF, stop: 1 #1874CD);border: 0px solid #4A708B;height: 10px;"
    "border-radius: 2px;}"
    "QSlider::add-page:horizontal{background: #D1D1D1; border: 0px solid #777; height: 10px; "
    "border-radius: 2px;}"
    "QSlider::handle:horizontal{background: qradialgradient(spread : pad, cx : 0.5, cy : 0.5, "
    "radius: 0.5, fx : 0.5, fy : 0.5,stop: 0.6 #ffffff, stop:0.778409 rgba(69,173,237,255)); "
    "width: 13px; height: 16px; margin-top: -4px; margin-bottom: -4px; margin-left: -4px; "
    "margin-right: -4px;border-radius: 5px;}";
} // namespace

PreviewHEIC::PreviewHEIC(const QString& filePath, QWidget* parent)
    : QWidget(parent)
    , ui(new Ui::PreviewHEIC)
    , m_filePath(filePath)
{
    ui->setupUi(this);
    // A QWidget subclass paints its style-sheet background only when asked;
    // without this the page shows the window grey between its white labels.
    setAttribute(Qt::WA_StyledBackground);

    const QFont regular16 = m_skin.font(12);
    ui->label_FormatTip->setFont(regular16);
    ui->label_Format->setFont(regular16);
    ui->label_PhotoQuality->setFont(regular16);
    ui->label_QualityValue->setFont(regular16);
    ui->label_SaveFile->setFont(regular16);
    ui->pushButton_PhotoInfo->setFont(m_skin.font(0));
    // The form leaves this one button to the platform's look, a grey bar
    // under the picture; it reads as the link it is in the accent colour.
    // Its focus is a dotted frame round its words, and Return presses it.
    ui->pushButton_PhotoInfo->setStyleSheet(
        QStringLiteral("QPushButton{color:#3598fe;border:1px solid transparent;background:transparent;"
                       "padding:2px 8px;}"
                       "QPushButton:hover{text-decoration:underline;}"
                       "QPushButton:focus{border:1px dotted #3598fe;}"));
    ui->pushButton_PhotoInfo->setSizePolicy(QSizePolicy::Maximum, QSizePolicy::Fixed);
    ui->verticalLayout->setAlignment(ui->pushButton_PhotoInfo, Qt::AlignHCenter);
    ui->pushButton_PhotoInfo->setAutoDefault(true);
    ui->pushButton_SelectFolder->setFont(m_skin.font(0));
    ui->label_SaveFolder->setFont(m_skin.font(0));
    ui->pushButton_Convert->setFont(m_skin.font(16));
    ui->widget_Choices->setTextFont(regular16);
    ui->widget_Choices->setRowSpacing(ui->verticalLayout_3->spacing());
    ui->checkBox_BesidePhoto->setFont(m_skin.font(0));
    ConversionChoices::styleCheckBox(ui->checkBox_BesidePhoto, m_skin.skinDir());

    ui->Slider_PhotoQuality->setStyleSheet(QString::fromLatin1(kSliderStyle));
    StyleHelpers::showSliderFocus(ui->Slider_PhotoQuality);

    const QString skinDir = m_skin.skinDir();
    ui->pushButton_SelectFolder->setImages(skinDir + "/Button/button100_normal.png",
                                           skinDir + "/Button/button100_hover.png",
                                           skinDir + "/Button/button100_pressing.png",
                                           skinDir + "/Button/button100_disable.png");
    ui->pushButton_Convert->setImages(skinDir + "/Button/big_button_normal.png",
                                      skinDir + "/Button/big_button_hover.png",
                                      skinDir + "/Button/big_button_pressing.png",
                                      skinDir + "/Button/big_button_disable.png");

    // The choices of the last conversion, in either flow, hold here too.
    m_choices = SavedChoices::output();
    ui->Slider_PhotoQuality->setValue(m_choices.quality);
    ui->label_QualityValue->setText(QString::number(m_choices.quality) + QLatin1Char('%'));
    ui->widget_Choices->setOptions(m_choices.options);
    ui->checkBox_BesidePhoto->setChecked(m_choices.besidePhotos);
    ui->pushButton_SelectFolder->setAttribute(Qt::WA_Hover);
    ui->pushButton_SelectFolder->installEventFilter(this);

    connect(ui->pushButton_PhotoInfo, SIGNAL(clicked()), this, SLOT(slot_PhotoInfo()));
    connect(ui->pushButton_SelectFolder, SIGNAL(clicked()), this, SLOT(slot_SelectSaveFolder()));
    connect(ui->Slider_PhotoQuality, SIGNAL(valueChanged(int)), this, SLOT(setChangeQuality(int)));
    connect(ui->pushButton_Convert, SIGNAL(clicked()), this, SLOT(slot_Convert()));
    connect(ui->widget_Choices, &ConversionChoices::optionsChanged, this, [this](const ConversionOptions& options) {
        m_choices.options = options;
        SavedChoices::setOutput(m_choices);
    });
    connect(ui->checkBox_BesidePhoto, &QCheckBox::toggled, this, [this](bool beside) {
        m_choices.besidePhotos = beside;
        SavedChoices::setOutput(m_choices);
        showSaveFolder();
    });

    m_caption = new WorkingCaption(ui->label_HEIC);
    // Another photo dropped here opens in place of this one.
    setAcceptDrops(true);

    gatherDetails();
    showSaveFolder();
    // Nothing to convert until the photo has been read.
    ui->pushButton_Convert->setEnabled(false);
}

PreviewHEIC::~PreviewHEIC()
{
    // A decode may still be running when the main window drops this page on
    // the way home or for another photo. Its result must not arrive here,
    // and Qt aborts when a running QThread is destroyed; waiting for it
    // would freeze the window for the seconds a big photo takes. So the page
    // stops listening and leaves the thread to the application, which
    // deletes it when it has finished (each is connected so) or at exit.
    const auto threads = findChildren<HEICTojpg*>(QString(), Qt::FindDirectChildrenOnly);
    for (HEICTojpg* thread : threads) {
        disconnect(thread, nullptr, this, nullptr);
        thread->requestInterruption();
        thread->setParent(QCoreApplication::instance());
    }
    delete ui;
}

void PreviewHEIC::setDecoderEntry(Heif2JpgFn entry)
{
    if (entry)
        m_decoderEntry = entry;
}

QString PreviewHEIC::sizeText(qint64 bytes)
{
    return QString::number(bytes / 1024.0 / 1024.0, 'f', 2) + QStringLiteral("MB");
}

QString PreviewHEIC::createdDateText(const QFileInfo& info, const QByteArray& jpeg)
{
    // The moment the photo was taken, when it says so; copies and downloads
    // give the file itself a much later date.
    const QDateTime taken = PhotoFiles::captureDate(jpeg);
    if (taken.isValid())
        return taken.toString(QStringLiteral("MM-dd-yyyy"));
    // Most Linux file systems report no birth time through Qt; the last
    // change of the contents is then the closest thing to "created".
    QDateTime created = info.birthTime();
    if (!created.isValid())
        created = info.lastModified();
    return created.toString(QStringLiteral("MM-dd-yyyy"));
}

bool PreviewHEIC::fitsToWidth(const QSize& picture, const QSize& box)
{
    const double rw = double(picture.width()) / double(box.width());
    const double rh = double(picture.height()) / double(box.height());
    return rw > rh;
}

QPixmap PreviewHEIC::scaledToFit(const QImage& picture, const QSize& box, qreal ratio)
{
    if (picture.isNull() || box.isEmpty())
        return QPixmap::fromImage(picture);
    // Small photos are enlarged too, so every preview fills the same frame.
    // A screen with two pixels per point gets twice the pixels, smoothly
    // scaled, or the picture shows blurred.
    const QSize target = box * ratio;
    QPixmap fitted = QPixmap::fromImage(
        fitsToWidth(picture.size(), box) ? picture.scaledToWidth(target.width(), Qt::SmoothTransformation)
                                         : picture.scaledToHeight(target.height(), Qt::SmoothTransformation));
    fitted.setDevicePixelRatio(ratio);
    return fitted;
}

void PreviewHEIC::gatherDetails()
{
    const QFileInfo info(m_filePath);
    if (!info.exists()) {
        qWarning("Preview: %s does not exist", qUtf8Printable(m_filePath));
        return;
    }
    m_fileName = info.fileName();
    m_fileSize = sizeText(info.size());
    m_createdDate = createdDateText(info, QByteArray());
}

QString PreviewHEIC::outputFolder() const
{
    return m_choices.besidePhotos ? QFileInfo(m_filePath).absolutePath()
                                  : OutputNaming::previewFolder(m_choices.saveFolder, OutputNaming::desktopFolder());
}

void PreviewHEIC::showSaveFolder()
{
    // Beside the photo there is no folder to pick.
    ui->pushButton_SelectFolder->setEnabled(!m_choices.besidePhotos);
    const QString folder = QDir::toNativeSeparators(outputFolder());
    ui->label_SaveFolder->setText(
        ui->label_SaveFolder->fontMetrics().elidedText(folder, Qt::ElideMiddle, 330));
    ui->label_SaveFolder->setToolTip(folder);
}

void PreviewHEIC::setConverting(bool converting)
{
    m_converting = converting;
    ui->pushButton_Convert->setEnabled(!converting && m_fileRead && m_failure.isEmpty());
    ui->pushButton_Convert->setText(converting ? tr("Converting...") : tr("Convert"));
}

void PreviewHEIC::slot_Convert()
{
    // One conversion at a time, of a photo that could be read.
    if (m_converting || !m_fileRead || !m_failure.isEmpty())
        return;
    setConverting(true);
    if (m_convertingDialog)
        m_convertingDialog->deleteLater();
    m_convertingDialog = new SingleConverting(this);
    connect(m_convertingDialog, SIGNAL(signal_OpenFolder()), this, SLOT(slot_OpenFolder()));
    connect(m_convertingDialog, SIGNAL(signal_CancelConvert()), this, SLOT(slot_CancelConvert()));
    m_convertingDialog->setWorking(m_fileName);

    if (!m_jpeg.isEmpty() && m_jpegQuality == m_choices.quality && m_jpegOptions == m_choices.options) {
        finishConversion(QString()); // decoded so already
    } else if (m_previewThread && m_previewQuality == m_choices.quality && m_choices.options.isDefault()) {
        m_convertPending = true; // the preview's decode is this conversion's
    } else {
        m_convertThread = newDecode(m_choices.quality, m_choices.options, QSize());
        m_convertThread->start(QThread::InheritPriority);
    }
    runConvertingDialog(m_convertingDialog);
}

void PreviewHEIC::slot_CancelConvert()
{
    if (!m_converting)
        return;
    m_convertPending = false;
    if (m_convertThread) {
        // A decode cannot be stopped half-way; its result is dropped.
        disconnect(m_convertThread, nullptr, this, nullptr);
        m_convertThread->requestInterruption();
        m_convertThread = nullptr;
    }
    setConverting(false);
}

void PreviewHEIC::finishConversion(const QString& failure)
{
    m_convertPending = false;
    if (failure.isEmpty())
        slot_SaveJpg();
    else
        showConversionFailure(failure);
    setConverting(false);
}

void PreviewHEIC::showConversionFailure(const QString& reason)
{
    const QString text = tr("%1 was not converted: %2").arg(m_fileName, reason);
    qWarning("Convert: %s", qUtf8Printable(text));
    if (m_convertingDialog && m_convertingDialog->isWorking()) {
        m_convertingDialog->setFailed(text);
        return;
    }
    VNMessageBox box(text, tr("Conversion Failed"), VNMessageBox::Ok, this);
    runMessage(&box);
}

void PreviewHEIC::runMessage(QDialog* box)
{
    box->exec();
}

HEICTojpg* PreviewHEIC::newDecode(int quality, const ConversionOptions& options, const QSize& previewBox)
{
    auto* thread = new HEICTojpg(m_filePath, m_decoderEntry, this);
    thread->setQuality(quality);
    thread->setOptions(options);
    thread->setPreviewSize(previewBox);
    connect(thread, SIGNAL(signal_SendHeicData(QImage, int, int)), this,
            SLOT(slot_GetJpgInfo(QImage, int, int)));
    // Finished runs are freed at once instead of piling up until the page goes.
    connect(thread, &QThread::finished, thread, &QObject::deleteLater);
    return thread;
}

void PreviewHEIC::slot_Preview()
{
    if (m_previewThread || m_previewShown)
        return;
    // The preview shows the photo as it is, at its own size; the options are
    // for the JPEG that a Convert writes. Only the label's worth of pixels is
    // shown (in the screen's pixels); the saved file is the library's JPEG,
    // so nothing needs the full-size picture.
    m_previewQuality = m_choices.quality;
    m_previewThread = newDecode(m_choices.quality, ConversionOptions(),
                                ui->label_HEIC->size() * ui->label_HEIC->devicePixelRatioF());
    m_caption->showWorking(tr("Reading the photo..."));
    connect(m_previewThread, &HEICTojpg::signal_FileRead, this, [this] {
        m_fileRead = true;
        setConverting(m_converting);
        if (!m_previewShown)
            m_caption->showWorking(tr("Decoding the full picture..."));
    });
    // A big photo takes seconds to decode; its own thumbnail stands in.
    connect(m_previewThread, &HEICTojpg::signal_SendThumbnail, this, [this](const QImage& thumbnail) {
        if (m_previewShown)
            return;
        ui->label_HEIC->setAlignment(Qt::AlignCenter);
        ui->label_HEIC->setPixmap(scaledToFit(thumbnail, ui->label_HEIC->size(), ui->label_HEIC->devicePixelRatioF()));
    });
    m_previewThread->start(QThread::InheritPriority);
}

void PreviewHEIC::setChangeQuality(int nValue)
{
    m_choices.quality = nValue;
    ui->label_QualityValue->setText(QString::number(nValue) + QLatin1Char('%'));
    SavedChoices::setOutput(m_choices);
}

void PreviewHEIC::slot_SelectSaveFolder()
{
    const QString folder = chooseSaveFolder(m_lastFolder);
    if (folder.isEmpty())
        return;
    m_choices.saveFolder = folder;
    m_lastFolder = folder;
    PhotoFiles::rememberFolder(folder);
    SavedChoices::setOutput(m_choices);
    showSaveFolder();
}

QString PreviewHEIC::chooseSaveFolder(const QString& startFolder)
{
    return QFileDialog::getExistingDirectory(
        this, tr("Save Path"), startFolder.isEmpty() ? PhotoFiles::startFolder() : startFolder,
        QFileDialog::ShowDirsOnly | QFileDialog::DontResolveSymlinks);
}

void PreviewHEIC::slot_PhotoInfo()
{
    emit signal_PhotoInfo(m_fileName, m_createdDate, m_fileSize, m_resolution);
}

void PreviewHEIC::slot_GetJpgInfo(QImage image, int nWidth, int nHeight)
{
    QString failure;
    auto* thread = qobject_cast<HEICTojpg*>(sender());
    if (thread) {
        m_jpeg = thread->jpegData();
        m_jpegQuality = thread->quality();
        m_jpegOptions = thread->options();
        failure = thread->failureReason();
    }
    if (thread && thread == m_convertThread) {
        m_convertThread = nullptr;
        finishConversion(failure);
        return;
    }

    // The preview's decode.
    m_caption->hide();
    if (image.isNull()) {
        if (failure.isEmpty())
            failure = tr("the photo could not be decoded");
        // The page says what is wrong instead of showing an empty frame.
        m_failure = failure;
        m_resolution.clear();
        ui->label_HEIC->setAlignment(Qt::AlignCenter);
        ui->label_HEIC->setWordWrap(true);
        ui->label_HEIC->setStyleSheet(QStringLiteral("color:#e64340;"));
        ui->label_HEIC->setText(tr("%1 cannot be converted:\n%2")
                                    .arg(QFileInfo(m_filePath).fileName(), failure));
        if (m_convertPending)
            finishConversion(failure);
        setConverting(m_converting);
        return;
    }
    // The photo's own size (a Convert may write it smaller).
    m_resolution = QString::number(nWidth) + QLatin1Char('*') + QString::number(nHeight);
    const QDateTime taken = PhotoFiles::captureDate(m_jpeg);
    if (taken.isValid())
        m_createdDate = taken.toString(QStringLiteral("MM-dd-yyyy"));
    showPicture(image);
    m_previewShown = true;
    m_fileRead = true;
    setConverting(m_converting);
    if (m_convertPending)
        finishConversion(QString());
}

void PreviewHEIC::showPicture(const QImage& picture)
{
    // Pixmaps belong to the GUI thread; the decode thread hands over a QImage.
    m_image = scaledToFit(picture, ui->label_HEIC->size(), ui->label_HEIC->devicePixelRatioF());
    ui->label_HEIC->setAlignment(Qt::AlignCenter);
    ui->label_HEIC->setPixmap(m_image);
}

void PreviewHEIC::slot_SaveJpg()
{
    const QString folder = outputFolder();
    // Beside the photo a file already there (the camera's own JPEG) is kept
    // and the JPEG takes the next free " (n)" name.
    const QString target = m_choices.besidePhotos
        ? OutputNaming::runTargets(QStringList{folder}, QStringList{m_filePath}, true).first()
        : folder + QLatin1Char('/') + OutputNaming::desktopJpegName(m_fileName);
    if (!m_choices.besidePhotos)
        m_choices.saveFolder = folder;
    m_writtenFolder = folder;

    QString error;
    if (m_jpeg.isEmpty()) {
        error = tr("nothing was decoded");
    } else {
        // Made only now that there is a JPEG to put in it, with its parents:
        // a new account may have no desktop folder yet.
        QDir().mkpath(folder);
        if (AtomicFileWriter::write(target, m_jpeg, &error,
                                    QFileInfo(m_filePath).lastModified()))
            error.clear();
        else if (error.isEmpty())
            error = tr("cannot write %1").arg(target);
    }
    if (!error.isEmpty()) {
        showConversionFailure(error);
        return;
    }
    emit signal_JpgSaved(target);
    if (m_convertingDialog) {
        m_convertingDialog->setSavedPath(target);
        m_convertingDialog->slot_ConvertSuccess();
    }
}

void PreviewHEIC::runConvertingDialog(SingleConverting* dialog)
{
    dialog->exec();
}

void PreviewHEIC::slot_OpenFolder()
{
    const QString folder = m_writtenFolder.isEmpty() ? outputFolder() : m_writtenFolder;
    if (!showFolder(folder)) {
        VNMessageBox box(FolderView::notShownText(folder), VNMessageBox::defaultTitle(), VNMessageBox::Ok, this);
        runMessage(&box);
    }
}

bool PreviewHEIC::showFolder(const QString& folder)
{
    return Platform::openFolder(folder);
}

void PreviewHEIC::dragEnterEvent(QDragEnterEvent* event)
{
    if (!m_converting && event->mimeData()->hasUrls())
        event->acceptProposedAction();
}

void PreviewHEIC::dropEvent(QDropEvent* event)
{
    QString note;
    const QString photo = PhotoFiles::firstPhoto(event->mimeData()->urls(), &note);
    event->acceptProposedAction();
    VNMessageBox::tellLater(window(), note);
    if (!photo.isEmpty())
        emit signal_ToPreviewView(photo);
}

bool PreviewHEIC::eventFilter(QObject* watched, QEvent* event)
{
    if (watched == ui->pushButton_SelectFolder)
        StyleHelpers::applyTextButtonHover(static_cast<QWidget*>(watched), event);
    return QWidget::eventFilter(watched, event);
}
