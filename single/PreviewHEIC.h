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

// Shows one HEIC photo scaled to fit and converts it to JPEG.
//
// Every decode runs on its own HEICTojpg thread, owned by this page. The
// first result is the preview; every later one (one per Convert press) is
// written to disk. The file written is the decoding library's own JPEG at
// the slider's quality, so quality is applied exactly once and the photo's
// EXIF and colour profile survive.
//
// Destroying the page while a decode is still running is safe: the
// destructor cuts the thread's connection to the page and waits for it, so
// no result reaches a deleted page and no running QThread is destroyed.
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
    static QPixmap scaledToFit(const QPixmap& picture, const QSize& box);

signals:
    void signal_PhotoInfo(QString strName, QString strCreateDate, QString strFileSize,
                          QString strResolution);
    // After a JPEG is complete on disk, with its full path.
    void signal_JpgSaved(QString strJpgPath);

public slots:
    void slot_Preview();
    void setChangeQuality(int nValue);
    void slot_SelectSaveFolder();
    void slot_PhotoInfo();
    void slot_GetJpgInfo(QImage image, int nWidth, int nHeight);
    void slot_SaveJpg();
    void slot_Convert();
    void slot_OpenFolder();

protected:
    bool eventFilter(QObject* watched, QEvent* event) override;

    // Seams for tests: the folder dialog and the modal success dialog.
    virtual QString chooseSaveFolder(const QString& startFolder);
    virtual void runConvertingDialog(SingleConverting* dialog);
    virtual void runMessage(QDialog* box);
    // Hands a folder to the file manager; false when none could be started.
    virtual bool showFolder(const QString& folder);

private:
    void gatherDetails();
    void showSaveFolder();
    // Where the JPEG goes: the chosen folder's Vantora folder, or the photo's.
    QString outputFolder() const;
    void setConverting(bool converting);
    void showFailure(const QString& title, const QString& reason);

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
    QPointer<HEICTojpg> m_decoderThread;
    Heif2JpgFn m_decoderEntry = nullptr;
    bool m_previewShown = false;
    QPixmap m_image;
    QByteArray m_jpeg; // the library's JPEG of the last decode, written by slot_SaveJpg
    SingleConverting* m_convertingDialog = nullptr;
    QString m_lastFolder;
    QString m_failure;
    bool m_converting = false;
};
