#pragma once

#include <QByteArray>
#include <QImage>
#include <QPixmap>
#include <QPointer>
#include <QSize>
#include <QString>
#include <QWidget>

#include "HEICTojpg.h"
#include "SavedChoices.h"
#include "SkinStyle.h"

namespace Ui {
class PreviewHEIC;
}

class QDialog;
class QFileInfo;
class SingleConverting;
class WorkingCaption;

// Shows one HEIC photo scaled to fit and converts it to JPEG.
//
// Every decode runs on its own HEICTojpg thread, owned by this page: one for
// the preview, started by slot_Preview(), and one per Convert press. Convert
// is ready as soon as the file is read; a conversion at the preview's
// quality takes the preview's JPEG (waiting for it when it is still being
// decoded) instead of decoding the photo twice. The file written is the
// decoding library's own JPEG at the slider's quality, so quality is applied
// exactly once and the photo's EXIF and colour profile survive.
//
// Destroying the page while a decode is still running is safe and quick: the
// destructor cuts the thread's connection to the page and hands the thread
// to the application, which deletes it once its decode is over, so no
// result reaches a deleted page and no running QThread is destroyed.
class PreviewHEIC : public QWidget
{
    Q_OBJECT

public:
    explicit PreviewHEIC(const QString& filePath, QWidget* parent = nullptr);
    ~PreviewHEIC() override;

    // A null entry keeps the one already stored.
    void setDecoderEntry(Heif2JpgFn entry);

    QString filePath() const { return m_filePath; }
    QString savePath() const { return m_choices.saveFolder; }
    ConversionOptions options() const { return m_choices.options; }
    bool besidePhoto() const { return m_choices.besidePhotos; }
    QString fileName() const { return m_fileName; }
    QString createdDate() const { return m_createdDate; }
    QString fileSize() const { return m_fileSize; }
    QString resolution() const { return m_resolution; }
    int quality() const { return m_choices.quality; }
    bool isPreviewShown() const { return m_previewShown; }
    QPixmap previewPixmap() const { return m_image; }
    SingleConverting* convertingDialog() const { return m_convertingDialog; }

    // The rules behind the texts and the preview, kept apart from the widgets.
    static QString sizeText(qint64 bytes);
    // The capture date in the JPEG's EXIF when it has one, else the file's.
    static QString createdDateText(const QFileInfo& info, const QByteArray& jpeg);
    // Why the photo cannot be converted; empty while it can.
    QString failure() const { return m_failure; }
    bool isConverting() const { return m_converting; }
    // True when the picture is scaled to the box's width, false when to its
    // height (ties go to the height).
    static bool fitsToWidth(const QSize& picture, const QSize& box);
    // The picture fitted into `box` (logical pixels), smoothly scaled to the
    // screen's pixels: `ratio` is the screen's device pixel ratio.
    static QPixmap scaledToFit(const QImage& picture, const QSize& box, qreal ratio);

signals:
    void signal_PhotoInfo(QString strName, QString strCreateDate, QString strFileSize,
                          QString strResolution);
    // After a JPEG is complete on disk, with its full path.
    void signal_JpgSaved(QString strJpgPath);
    // A photo was dropped on the page: it takes the place of this one.
    void signal_ToPreviewView(QString strFilePath);

public slots:
    void slot_Preview();
    void setChangeQuality(int nValue);
    void slot_SelectSaveFolder();
    void slot_PhotoInfo();
    void slot_GetJpgInfo(QImage image, int nWidth, int nHeight);
    void slot_SaveJpg();
    void slot_Convert();
    void slot_CancelConvert();
    void slot_OpenFolder();

protected:
    bool eventFilter(QObject* watched, QEvent* event) override;
    void dragEnterEvent(QDragEnterEvent* event) override;
    void dropEvent(QDropEvent* event) override;

    // Seams for tests: the folder dialog and the modal success dialog.
    virtual QString chooseSaveFolder(const QString& startFolder);
    virtual void runConvertingDialog(SingleConverting* dialog);
    virtual void runMessage(QDialog* box);
    // Hands a folder to the file manager; false when none could be started.
    virtual bool showFolder(const QString& folder);

private:
    void gatherDetails();
    void showSaveFolder();
    // A decode thread of this photo, connected to slot_GetJpgInfo; not started.
    HEICTojpg* newDecode(int quality, const ConversionOptions& options, const QSize& previewBox);
    void showPicture(const QImage& picture);
    // Where the JPEG goes: the chosen folder's Vantora folder, or the photo's.
    QString outputFolder() const;
    void setConverting(bool converting);
    void finishConversion(const QString& failure);
    void showConversionFailure(const QString& reason);

    Ui::PreviewHEIC* ui;
    SkinStyle m_skin;
    QString m_filePath;
    // Folder, quality and options, as remembered from before and changed here.
    SavedChoices::Output m_choices;
    // Where the last JPEG went, for "Open Folder".
    QString m_writtenFolder;
    QString m_fileName;
    QString m_createdDate;
    QString m_fileSize;
    QString m_resolution;
    QPointer<HEICTojpg> m_previewThread;
    QPointer<HEICTojpg> m_convertThread; // a conversion's own decode, while it runs
    Heif2JpgFn m_decoderEntry = nullptr;
    bool m_previewShown = false;
    QPixmap m_image;
    QByteArray m_jpeg; // the library's JPEG of the last decode, written by slot_SaveJpg
    int m_jpegQuality = -1; // what the JPEG was made with
    ConversionOptions m_jpegOptions;
    int m_previewQuality = 100;
    SingleConverting* m_convertingDialog = nullptr;
    QString m_lastFolder;
    QString m_failure;
    bool m_fileRead = false;
    bool m_converting = false;
    bool m_convertPending = false; // the conversion takes the preview's JPEG
    WorkingCaption* m_caption = nullptr;
};
