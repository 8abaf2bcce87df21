#pragma once

#include "DecoderLibrary.h"
#include "PhotoFiles.h"
#include "ShadowFrame.h"
#include "SkinStyle.h"

#include <QMainWindow>
#include <QString>
#include <QStringList>
#include <QUrl>
#include <QVector>

#include <memory>

namespace Ui {
class PictovaClass;
}

class QAction;
class QLabel;
class QMenu;
class QTimer;
class HeicFileTable;
class PhotoInfo;
class PreviewHEIC;
class SingalConverterHome;
class TipDialog;
class VNStyleButton;

// The program's only top-level window: a frameless card with a drawn title
// bar, the home screen with its two tiles, and one page at a time in the
// content area. Pages are made when entered and destroyed on the way home, so
// every visit starts clean.
class Pictova : public QMainWindow
{
    Q_OBJECT

public:
    // Ids of the tools menu's link entries in the product configuration.
    enum MenuLink {
        LinkTutorial = 3,
        LinkFaq = 4,
        LinkReview = 5,
        LinkContactUs = 6,
        LinkFacebook = 7,
        LinkTwitter = 8,
    };

    explicit Pictova(QWidget* parent = nullptr);
    ~Pictova() override;

    // Loads the decoding library; a missing library leaves the decoder null
    // and every decode then yields nothing.
    void bindDecoder();
    Heif2JpgFn decoder() const { return m_decoder; }

    // State (1 = shown) and configured address of one tools menu entry.
    virtual void queryMenuEntry(int id, int* state, QString* url);

    // What a link entry opens: the configured web address, else the help
    // page shipped with the program; empty when there is neither.
    QUrl linkTarget(int id, bool reportRefusal);

    // Opens photos handed to the program (its arguments, a later start):
    // into the batch list when one is open, else one photo on its own on the
    // preview page, several photos or a folder on a new batch list. While a
    // question is open or the page is converting, they wait for it.
    void openFiles(const QStringList& paths);
    // Shows the window in front of the others, restored if minimised.
    void bringToFront();

    // The page now in the content area, or null on the home screen.
    QWidget* currentPage() const { return m_currentPage; }
    QMenu* toolsMenu() const { return m_toolsMenu.get(); }

public slots:
    void slot_SinglePhotoView();
    void slot_BatchPhotoView();
    void slot_ToHome();
    void slot_ToPreviewView(QString strFilePath);
    void slot_PhotoInfo(const QString& strName, const QString& strCreateDate,
                        const QString& strFileSize, const QString& strResolution);
    void slot_addHeicFileToTable(QVector<QString> vStrPath);
    void slot_AddToolMenu();
    void slot_TutorialURL();
    void slot_Frequently_Asked_QuestionsURL();
    void slot_WriteProductReviewURL();
    void slot_ContactUsURL();
    void slot_FacebookURL();
    void slot_FollowUS();
    void slot_About();
    void slot_Exit();
    void slot_QuitConfirmed();

protected:
    bool eventFilter(QObject* watched, QEvent* event) override;
    void paintEvent(QPaintEvent* event) override;
    void closeEvent(QCloseEvent* event) override;

    // Hands a web address to the desktop; tests replace it so no browser starts.
    virtual bool openUrl(const QUrl& url);

private:
    void initWindow();
    void openPageHeader(const QString& title);
    void placePage(QWidget* page);
    void destroyCurrentPage();
    void openMenuLink(int id);
    void buildToolsMenu();
    void openPendingFiles();
    // Shows the batch list (made when there is none yet) with these photos.
    void openList(const PhotoFiles::Collected& collected);
    void tell(const QString& text);
    bool pageIsBusy() const;

    std::unique_ptr<Ui::PictovaClass> ui;
    SkinStyle m_style;
    VNStyleButton* m_singleStart = nullptr;
    VNStyleButton* m_batchStart = nullptr;
    SingalConverterHome* m_dropPage = nullptr;
    PreviewHEIC* m_previewPage = nullptr;
    QWidget* m_currentPage = nullptr;
    QLabel* m_pageTitle = nullptr;
    Heif2JpgFn m_decoder = nullptr;
    PhotoInfo* m_photoInfo = nullptr;
    HeicFileTable* m_fileTable = nullptr;
    TipDialog* m_exitTip = nullptr;
    bool m_quitConfirmed = false;
    QStringList m_pendingFiles;
    QTimer* m_pendingTimer = nullptr;

    // The menu has no parent widget (it pops up as its own window), so the
    // window owns it directly.
    std::unique_ptr<QMenu> m_toolsMenu;
    QAction* m_actTutorial = nullptr;
    QAction* m_actFaq = nullptr;
    QAction* m_actReview = nullptr;
    QAction* m_actContactUs = nullptr;
    QAction* m_actFacebook = nullptr;
    QAction* m_actTwitter = nullptr;
    QAction* m_actAbout = nullptr;
    QAction* m_actExit = nullptr;

    ShadowFrame m_shadow;
};
