// pictova-gallery: every widget of the kit and every picture of the skin on
// a few pages, to look at the artwork and the kit together.
//   pictova-gallery                 shows the pages
//   pictova-gallery --save DIR      writes DIR/<page>.png and quits; with
//                                   --screen the pictures are taken from the
//                                   screen (run under Xvfb) instead of the
//                                   widgets, so translucency shows as the
//                                   window system composes it
#include "SkinImages.h"
#include "SkinStyle.h"
#include "StyleHelpers.h"
#include "TipDialog.h"
#include "VNMessageBox.h"
#include "VNStyleButton.h"
#include "VNStyleCheckBox.h"
#include "VNStyleDialog.h"
#include "VNStyleTableWidget.h"
#include "VNStyleWidgetTitle.h"

#include <QApplication>
#include <QCommandLineParser>
#include <QDir>
#include <QGridLayout>
#include <QHeaderView>
#include <QLabel>
#include <QMouseEvent>
#include <QPainter>
#include <QProgressBar>
#include <QScreen>
#include <QThread>
#include <QTimer>
#include <QVBoxLayout>

namespace {

enum class ShowState { Normal, Hover, Pressed, Disabled };

// Puts a button into a state the way the mouse would, and applies the
// screens' white-on-hover text rule to the outlined kind.
void force(VNStyleButton* button, ShowState state, bool outlined)
{
    if (state == ShowState::Disabled) {
        button->setEnabled(false);
        return;
    }
    if (state == ShowState::Normal)
        return;
    QEvent enter(QEvent::Enter);
    QApplication::sendEvent(button, &enter);
    if (outlined)
        button->setStyleSheet(QStringLiteral("color:#ffffff"));
    if (state == ShowState::Pressed) {
        QMouseEvent press(QEvent::MouseButtonPress, QPointF(2, 2), Qt::LeftButton, Qt::LeftButton, Qt::NoModifier);
        QApplication::sendEvent(button, &press);
    }
}

struct ButtonSet
{
    const char* base;
    QSize size;
    QString text;
    QString textColour;
    bool outlined;
    bool hasDisabled;
};

QWidget* buttonsPage()
{
    SkinStyle style;
    auto* page = new QWidget;
    page->setObjectName(QStringLiteral("buttons"));
    page->setStyleSheet(QStringLiteral("QWidget#buttons{background: white;}"));
    auto* grid = new QGridLayout(page);
    grid->setHorizontalSpacing(24);
    grid->setVerticalSpacing(14);
    grid->setContentsMargins(24, 24, 24, 24);
    const char* heads[] = {"normal", "hover", "pressed", "disabled"};
    for (int c = 0; c < 4; ++c) {
        auto* head = new QLabel(QString::fromLatin1(heads[c]));
        head->setFont(style.font(31));
        grid->addWidget(head, 0, c + 1, Qt::AlignCenter);
    }
    const QString blue = QStringLiteral("color:#3598fe");
    const QString white = QStringLiteral("color:#ffffff");
    const ButtonSet sets[] = {
        {"button100", {100, 30}, QStringLiteral("Select Folder"), blue, true, false},
        {"button100_2", {100, 30}, QStringLiteral("Convert"), white, false, false},
        {"big_button", {168, 43}, QStringLiteral("Start"), white, false, true},
        {"add_icon", {60, 20}, QString(), blue, false, false},
        {"delete_icon", {76, 20}, QString(), blue, false, true},
        {"clear_icon", {68, 20}, QString(), blue, false, true},
        {"file_add", {80, 80}, QString(), QString(), false, false},
        {"home_button", {90, 30}, QString(), blue, false, false},
        {"tools_icon", {18, 18}, QString(), QString(), false, false},
        {"mini_icon", {18, 18}, QString(), QString(), false, false},
        {"close_icon", {18, 18}, QString(), QString(), false, false},
        {"feedback_icon", {18, 18}, QString(), QString(), false, false},
    };
    int row = 1;
    for (const ButtonSet& set : sets) {
        auto* name = new QLabel(QString::fromLatin1(set.base));
        name->setFont(style.font(34));
        grid->addWidget(name, row, 0);
        const QString base = style.skinDir() + "/Button/" + QString::fromLatin1(set.base);
        for (int c = 0; c < 4; ++c) {
            auto* button = new VNStyleButton(page);
            button->setFixedSize(set.size);
            button->setText(set.text);
            button->setStyleSheet(set.textColour);
            button->setFont(set.size.height() > 40 ? style.font(42) : style.font(34));
            button->setImages(base + "_normal.png", base + "_hover.png", base + "_pressing.png",
                              set.hasDisabled ? base + "_disable.png" : base + "_disable.png");
            force(button, static_cast<ShowState>(c), set.outlined);
            grid->addWidget(button, row, c + 1, Qt::AlignCenter);
        }
        ++row;
    }
    // The message box and small OK button pictures, and a button without pictures.
    auto* appRow = new QLabel(QStringLiteral("Application / ok_105_21 / plain"));
    appRow->setFont(style.font(34));
    grid->addWidget(appRow, row, 0);
    auto* app = new VNStyleButton(page);
    app->setFixedSize(100, 28);
    app->setText(QStringLiteral("OK"));
    app->setFont(style.font(32));
    app->setStyleSheet(QStringLiteral("color: rgb(255, 255, 255);"));
    app->setImages(style.skinDir() + "/Application/Button_Normal.png", style.skinDir() + "/Application/Button_Hover.png",
                   style.skinDir() + "/Application/Button_Normal.png", QString());
    grid->addWidget(app, row, 1, Qt::AlignCenter);
    auto* appHover = new VNStyleButton(page);
    appHover->setFixedSize(100, 28);
    appHover->setText(QStringLiteral("Cancel"));
    appHover->setFont(style.font(32));
    appHover->setStyleSheet(QStringLiteral("color: rgb(255, 255, 255);"));
    appHover->setImages(style.skinDir() + "/Application/Button_Normal.png",
                        style.skinDir() + "/Application/Button_Hover.png",
                        style.skinDir() + "/Application/Button_Normal.png", QString());
    force(appHover, ShowState::Hover, false);
    grid->addWidget(appHover, row, 2, Qt::AlignCenter);
    auto* ok = new VNStyleButton(page);
    ok->setFixedSize(105, 21);
    ok->setText(QStringLiteral("OK"));
    ok->setStyleSheet(QStringLiteral("color: rgb(255, 255, 255);"));
    ok->setImages(style.skinDir() + "/ok_105_21_1.png", style.skinDir() + "/ok_105_21_2.png",
                  style.skinDir() + "/ok_105_21_3.png");
    grid->addWidget(ok, row, 3, Qt::AlignCenter);
    auto* plain = new VNStyleButton(page);
    plain->setText(QStringLiteral("Plain"));
    grid->addWidget(plain, row, 4, Qt::AlignCenter);
    return page;
}

QWidget* kitPage()
{
    SkinStyle style;
    auto* page = new QWidget;
    page->setObjectName(QStringLiteral("kit"));
    page->setStyleSheet(QStringLiteral("QWidget#kit{background: rgb(243, 248, 254);}"));
    auto* layout = new QVBoxLayout(page);
    layout->setContentsMargins(20, 20, 20, 20);
    layout->setSpacing(14);

    auto* title = new VNStyleWidgetTitle(page);
    title->setFixedHeight(34);
    title->setTitleText(QStringLiteral("VNStyleWidgetTitle"));
    title->logoLabel()->show();
    layout->addWidget(title);

    auto* boxes = new QHBoxLayout;
    const QString skin = style.skinDir();
    const QString sheet = "QCheckBox::indicator:enabled::unchecked{image:url(" + skin + "/CheckBox/checkbox_normal.png);}"
                          "QCheckBox::indicator:enabled::checked{image:url(" + skin + "/CheckBox/checkbox_selected.png);}"
                          "QCheckBox::indicator:enabled::indeterminate{image:url(" + skin + "/CheckBox/checkbox_half_selected.png);}";
    for (Qt::CheckState state : {Qt::Unchecked, Qt::PartiallyChecked, Qt::Checked}) {
        auto* box = new VNStyleCheckBox(0, page);
        box->setFixedSize(60, 30);
        box->setCheckBoxStyleSheet(sheet);
        box->setCheckState(state);
        boxes->addWidget(box);
    }
    boxes->addStretch();
    layout->addLayout(boxes);

    auto* table = new VNStyleTableWidget(page);
    table->setColumnCount(4);
    table->setHorizontalHeaderLabels({QString(), QStringLiteral("Name"), QStringLiteral("Size"),
                                      QStringLiteral("File Directory")});
    table->setRowCount(5);
    for (int r = 0; r < 5; ++r) {
        auto* box = new VNStyleCheckBox(r, table);
        box->setCheckBoxStyleSheet(sheet);
        box->setCheckState(r % 2 ? Qt::Checked : Qt::Unchecked);
        table->setCellWidget(r, 0, box);
        table->setItem(r, 1, new QTableWidgetItem(QStringLiteral("IMG_%1.HEIC").arg(3570 + r)));
        table->setItem(r, 2, new QTableWidgetItem(QStringLiteral("%1MB").arg(1.2 + r * 0.7, 0, 'f', 1)));
        table->setItem(r, 3, new QTableWidgetItem(QStringLiteral("/home/user/Pictures/IMG_%1.HEIC").arg(3570 + r)));
        table->setRowHeight(r, 44);
    }
    table->setColumnWidth(0, 84);
    table->setColumnWidth(1, 176);
    table->setColumnWidth(2, 190);
    table->selectRow(2);
    table->setFixedSize(760, 280);
    layout->addWidget(table);

    auto* progress = new QProgressBar(page);
    StyleHelpers::setProgressBarStyle(progress);
    progress->setValue(42);
    progress->setFixedHeight(8);
    layout->addWidget(progress);

    auto* elided = new QLabel(page);
    StyleHelpers::setElidedText(elided, QStringLiteral("A very long file name that does not fit into its label at all.HEIC"),
                                260);
    layout->addWidget(elided);

    // Fonts by index, a few of each kind.
    auto* fonts = new QLabel(page);
    QString rows;
    for (int index : {2, 22, 31, 32, 34, 35, 38, 39, 42, 43}) {
        const QFont f = style.font(index);
        rows += QStringLiteral("<div style='font-family:\"%1\"; font-size:%2px; font-weight:%3'>font(%4): "
                               "The quick brown fox converts HEIC to JPG</div>")
                    .arg(f.family())
                    .arg(f.pixelSize())
                    .arg(f.weight() >= 75 ? 700 : f.weight() >= 62 ? 600 : 400)
                    .arg(index);
    }
    fonts->setText(rows);
    layout->addWidget(fonts);
    layout->addStretch();
    return page;
}

// The home screen and the drop zone put together from their pictures, the
// way the screens will show them.
QWidget* homePage()
{
    SkinStyle style;
    auto* page = new QWidget;
    page->setFixedSize(1000, 569 * 2 + 10);
    auto* home = new QLabel(page);
    home->setGeometry(0, 0, 1000, 569);
    home->setStyleSheet(QStringLiteral("background-color: rgb(255, 255, 255);\nbackground-image: url(:/Pictova/Resources/home_bg.jpg);"));
    auto* tile1 = new QLabel(home);
    tile1->setGeometry(146, 94, 290, 350);
    tile1->setStyleSheet(QStringLiteral("background-image: url(:/Pictova/Resources/module1_normal.png);"));
    auto* tile2 = new QLabel(home);
    tile2->setGeometry(146 + 290 + 128, 94, 290, 350);
    tile2->setStyleSheet("background-image: url(" + style.skinDir() + "/main/module2_bg_hover.png);");
    for (int i = 0; i < 2; ++i) {
        auto* start = new VNStyleButton(home);
        start->setFixedSize(168, 43);
        start->setImages(style.skinDir() + "/Button/big_button_normal.png", style.skinDir() + "/Button/big_button_hover.png",
                         style.skinDir() + "/Button/big_button_pressing.png");
        start->setText(QStringLiteral("Start"));
        start->setStyleSheet(QStringLiteral("color:#FFFFFF"));
        start->setFont(style.font(39));
        start->move(i == 0 ? 205 : 630, 344);
        if (i == 1)
            force(start, ShowState::Hover, false);
    }

    auto* drop = new QWidget(page);
    drop->setObjectName(QStringLiteral("drop"));
    drop->setGeometry(0, 579, 1000, 569);
    drop->setStyleSheet(QStringLiteral("QWidget#drop{background-color: rgb(243, 248, 254);}"));
    auto* card = new QWidget(drop);
    card->setObjectName(QStringLiteral("widget_SelectPhoto"));
    card->setGeometry(165, 85, 670, 400);
    card->setStyleSheet(QStringLiteral("#widget_SelectPhoto {background-color: rgb(255, 255, 255); background-image: url(:/Pictova/Resources/file_add_bg_normal.png);}\n"));
    auto* add = new VNStyleButton(card);
    add->setGeometry(295, 124, 80, 80);
    add->setStyleSheet(QStringLiteral("background-color: rgb(255, 255, 255);"));
    add->setImages(style.skinDir() + "/Button/file_add_normal.png", style.skinDir() + "/Button/file_add_hover.png",
                   style.skinDir() + "/Button/file_add_pressing.png", QString());
    auto* tip = new QLabel(QStringLiteral("Select A File"), card);
    tip->setGeometry(5, 236, 660, 20);
    tip->setAlignment(Qt::AlignCenter);
    tip->setFont(style.font(43));
    tip->setStyleSheet(QStringLiteral("color:#3598fe;\nbackground-color: rgb(255, 255, 255);"));
    auto* drop2 = new QLabel(QStringLiteral("Or you can directly drop a HEIC file here."), card);
    drop2->setGeometry(5, 272, 660, 16);
    drop2->setAlignment(Qt::AlignCenter);
    drop2->setFont(style.font(34));
    drop2->setStyleSheet(QStringLiteral("color:#787878;\nbackground-color: rgb(255, 255, 255);"));
    return page;
}

// Every picture of the skin on its own, on white and on the page grey.
QWidget* artworkPage()
{
    SkinStyle style;
    auto* page = new QWidget;
    page->setObjectName(QStringLiteral("art"));
    page->setStyleSheet(QStringLiteral("QWidget#art{background: rgb(228, 232, 238);}"));
    auto* grid = new QGridLayout(page);
    grid->setSpacing(8);
    int i = 0;
    for (const auto& image : SkinImages::skin) {
        const QString path = QString::fromLatin1(image.path);
        if (image.width > 200)
            continue; // the large ones are on the home page
        auto* cell = new QLabel(page);
        cell->setPixmap(QPixmap(style.skinDir() + path));
        cell->setToolTip(path);
        cell->setAlignment(Qt::AlignCenter);
        cell->setMinimumSize(qMax(image.width + 8, 40), image.height + 8);
        grid->addWidget(cell, i / 8, i % 8);
        ++i;
    }
    for (const char* logo : {":/VNRSC/logo.png"}) {
        auto* cell = new QLabel(page);
        cell->setPixmap(QPixmap(QString::fromLatin1(logo)));
        grid->addWidget(cell, i / 8, i % 8);
        ++i;
    }
    return page;
}

QList<QWidget*> dialogs()
{
    QList<QWidget*> all;
    const char* names[] = {"tip_cancel_confirm", "tip_clear", "tip_cancelled", "tip_quit"};
    for (int v = 0; v < 4; ++v) {
        auto* tip = new TipDialog;
        tip->setObjectName(QString::fromLatin1(names[v]));
        switch (v) {
        case 0: tip->setCancelConvertTip(); break;
        case 1: tip->setClearTableTip(); break;
        case 2: tip->setConvertCancelledTip(); tip->setConvertedCount(7); break;
        case 3: tip->setQuitTip(); break;
        }
        all << tip;
    }
    auto* box = new VNMessageBox(QStringLiteral("The selected folder cannot be written. Choose another folder and try again."),
                                 QString(), VNMessageBox::Yes | VNMessageBox::No);
    box->setObjectName(QStringLiteral("messagebox_yes_no"));
    all << box;
    auto* box2 = new VNMessageBox(QStringLiteral("All photos have been converted."), QStringLiteral("Done"),
                                  VNMessageBox::Ok | VNMessageBox::Cancel);
    box2->setObjectName(QStringLiteral("messagebox_ok_cancel"));
    all << box2;
    auto* box3 = new VNMessageBox(QStringLiteral("Small OK button."), QString(), VNMessageBox::Ok);
    box3->useSmallOkButton();
    box3->setObjectName(QStringLiteral("messagebox_small_ok"));
    all << box3;
    return all;
}

// A translucent window grabbed by the widget has a transparent margin; lay it
// on the page grey so the shadow can be judged.
QImage onBackdrop(const QImage& image)
{
    QImage out(image.size() + QSize(40, 40), QImage::Format_RGB32);
    out.fill(QColor(243, 248, 254));
    QPainter p(&out);
    p.drawImage(20, 20, image);
    return out;
}

} // namespace

int main(int argc, char** argv)
{
    QApplication app(argc, argv);
    QCommandLineParser parser;
    parser.addHelpOption();
    QCommandLineOption saveOption(QStringLiteral("save"), QStringLiteral("Write PNGs into <dir> and quit."),
                                  QStringLiteral("dir"));
    QCommandLineOption screenOption(QStringLiteral("screen"), QStringLiteral("Grab from the screen, not the widgets."));
    parser.addOption(saveOption);
    parser.addOption(screenOption);
    parser.process(app);

    QList<QWidget*> pages = {buttonsPage(), kitPage(), homePage(), artworkPage()};
    const char* pageNames[] = {"buttons", "kit", "home", "artwork"};
    for (int i = 0; i < pages.size(); ++i)
        pages[i]->setObjectName(QString::fromLatin1(pageNames[i]));
    // Object names that the style sheets select on must survive: set them back.
    pages[0]->setObjectName(QStringLiteral("buttons"));
    const QList<QWidget*> dialogList = dialogs();

    int x = 10;
    for (QWidget* w : pages + dialogList) {
        w->setWindowTitle(w->objectName());
        w->move(x, 10);
        w->show();
        x += 30;
    }

    if (!parser.isSet(saveOption))
        return app.exec();

    const QString dir = parser.value(saveOption);
    QDir().mkpath(dir);
    const bool fromScreen = parser.isSet(screenOption);
    QTimer::singleShot(500, [&] {
        for (QWidget* w : pages + dialogList) {
            QImage shot;
            if (fromScreen) {
                w->raise();
                w->activateWindow();
                QApplication::processEvents();
                QThread::msleep(150);
                QApplication::processEvents();
                const QRect g = w->frameGeometry();
                shot = w->screen()->grabWindow(0, g.x(), g.y(), g.width(), g.height()).toImage();
            } else {
                shot = w->grab().toImage();
                if (w->testAttribute(Qt::WA_TranslucentBackground))
                    shot = onBackdrop(shot);
            }
            shot.save(dir + QLatin1Char('/') + w->objectName() + QStringLiteral(".png"));
        }
        app.quit();
    });
    const int rc = app.exec();
    qDeleteAll(pages);
    qDeleteAll(dialogList);
    return rc;
}
