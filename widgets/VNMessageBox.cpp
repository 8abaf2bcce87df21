#include "VNMessageBox.h"

#include <QPointer>
#include <QTimer>

#include "ui_VNMessageBox.h"

VNMessageBox::VNMessageBox(const QString& text, const QString& title, int buttons, QWidget* parent)
    : VNStyleDialog(parent)
    , ui(new Ui::VNMessageBox)
    , m_title(title)
    , m_text(text)
    , m_buttons(buttons)
{
    ui->setupUi(this);

    ui->widget->setParentWidget(this, QPoint(5, 5), true);
    const QString skin = m_style.skinDir();
    const QString normal = skin + QStringLiteral("/Application/Button_Normal.png");
    const QString hover = skin + QStringLiteral("/Application/Button_Hover.png");
    VNStyleButton* const all[] = {ui->pushButton_yes, ui->pushButton_no, ui->pushButton_ok,
                                  ui->pushButton_cancel};
    for (VNStyleButton* button : all)
        button->setImages(normal, hover, normal, QString()); // pressed looks like normal

    if (m_title.isEmpty())
        m_title = defaultTitle();
    ui->widget->setTitleText(m_title);
    ui->widget->setStyleSheet(QStringLiteral("color: rgb(255, 255, 255);"));

    ui->label->setText(m_text);
    ui->label->setStyleSheet(QStringLiteral("color:rgb(102,102,102)"));
    ui->label->setFont(m_style.font(34));
    // Messages may carry an address or a path the person wants to copy.
    ui->label->setTextInteractionFlags(Qt::TextSelectableByMouse);
    for (VNStyleButton* button : all)
        button->setFont(m_style.font(32));

    connect(ui->pushButton_yes, SIGNAL(clicked()), this, SLOT(slotClose_yes()));
    connect(ui->pushButton_no, SIGNAL(clicked()), this, SLOT(slotClose_no()));
    connect(ui->pushButton_ok, SIGNAL(clicked()), this, SLOT(slotClose_ok()));
    connect(ui->pushButton_cancel, SIGNAL(clicked()), this, SLOT(slotClose_cancel()));

    for (VNStyleButton* button : all)
        button->hide();
    ui->pushButton_yes->setVisible(m_buttons & Yes);
    ui->pushButton_no->setVisible(m_buttons & No);
    ui->pushButton_ok->setVisible(m_buttons & Ok);
    ui->pushButton_cancel->setVisible(m_buttons & Cancel);
}

VNMessageBox::~VNMessageBox()
{
    delete ui;
}

QString VNMessageBox::defaultTitle()
{
    return QStringLiteral("Pictova");
}

void VNMessageBox::setButtonTexts(const QString& yes, const QString& no, const QString& ok,
                                  const QString& cancel)
{
    ui->pushButton_yes->setText(yes);
    ui->pushButton_no->setText(no);
    ui->pushButton_ok->setText(ok);
    ui->pushButton_cancel->setText(cancel);
}

void VNMessageBox::useSmallOkButton()
{
    ui->pushButton_ok->setFixedSize(105, 21);
    const QString skin = m_style.skinDir();
    ui->pushButton_ok->setImages(skin + QStringLiteral("/ok_105_21_1.png"), skin + QStringLiteral("/ok_105_21_2.png"),
                                 skin + QStringLiteral("/ok_105_21_3.png"));
}

void VNMessageBox::finish(int result)
{
    m_result = result;
    close();
}

void VNMessageBox::slotClose_yes()
{
    finish(Yes);
}

void VNMessageBox::slotClose_no()
{
    finish(No);
}

void VNMessageBox::slotClose_ok()
{
    finish(Ok);
}

void VNMessageBox::slotClose_cancel()
{
    finish(Cancel);
}

void VNMessageBox::tellLater(QWidget* window, const QString& text, std::function<int(QDialog*)> run)
{
    if (text.isEmpty())
        return;
    QPointer<QWidget> over(window);
    QTimer::singleShot(0, window, [over, text, run] {
        if (!over)
            return;
        VNMessageBox box(text, defaultTitle(), Ok, over);
        if (run)
            run(&box);
        else
            box.exec();
    });
}
