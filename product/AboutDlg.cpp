#include "AboutDlg.h"
#include "ui_AboutDlg.h"

#include "Platform.h"
#include "ProductInfo.h"

#include <QCoreApplication>
#include <QPixmap>

AboutDlg::AboutDlg(QWidget* parent)
    : QWidget(parent)
    , ui(new Ui::AboutDlg)
{
    ui->setupUi(this);
    ui->label_logo_img->setPixmap(
        SkinStyle::pixmap(m_style.skinDir() + QStringLiteral("/main/48x48.png"), devicePixelRatioF()));

    ui->LabelVantoraName->setFont(m_style.font(43));
    ui->LabelApplicationName->setFont(m_style.font(32));
    ui->LabelAbout->setFont(m_style.font(32));
    const QList<QLabel*> facts = ui->WidgetDeveloper->findChildren<QLabel*>();
    for (QLabel* label : facts)
        label->setFont(m_style.font(34));

    // The form's version is only a placeholder; a program without a version
    // shows none rather than a wrong one.
    ui->LabelVersionText->setText(Platform::fileVersion(QCoreApplication::applicationFilePath()));
    ui->LabelNameText->setText(ProductInfo::productName());
    ui->LabelVantoraName->setText(ProductInfo::productName());
    ui->LabelCompanyText->setText(ProductInfo::companyName());

    // The program is credited to its contributors as a whole (the AUTHORS
    // file names them); the rows for single roles stay out of sight rather
    // than carry names of people who did not do the work.
    const QList<QLabel*> roleRows = {ui->LabelEngineerTitle,       ui->LabelEngineerText,
                                     ui->LabelUIDesignerTitle,     ui->LabelUIDesignerText,
                                     ui->LabelEditorTitle,         ui->LabelEditorText,
                                     ui->LabelProjectManagerTitle, ui->LabelProjectManagerText,
                                     ui->LabelProjuctManagerTitle, ui->LabelProjuctManagerText};
    for (QLabel* label : roleRows)
        label->hide();
    // The rows left keep their spacing at the top instead of spreading over
    // the room the hidden ones leave.
    ui->gridLayout->setRowStretch(ui->gridLayout->rowCount(), 1);
}

AboutDlg::~AboutDlg() = default;
