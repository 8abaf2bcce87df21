#include "WorkingCaption.h"

#include "SkinStyle.h"

#include <QEvent>
#include <QLabel>
#include <QProgressBar>
#include <QVBoxLayout>

namespace {
const int kHeight = 44;
}

WorkingCaption::WorkingCaption(QWidget* parent)
    : QWidget(parent)
    , m_text(new QLabel(this))
    , m_bar(new QProgressBar(this))
{
    setObjectName(QStringLiteral("workingCaption"));
    setAttribute(Qt::WA_StyledBackground);
    setStyleSheet(QStringLiteral("#workingCaption{background-color: rgba(255, 255, 255, 225);}"));
    m_text->setFont(SkinStyle().font(0));
    m_text->setStyleSheet(QStringLiteral("color:#484848; background: transparent;"));
    m_text->setAlignment(Qt::AlignCenter);
    // No range: Qt keeps the chunk moving for as long as the bar is shown.
    m_bar->setRange(0, 0);
    m_bar->setTextVisible(false);
    m_bar->setFixedHeight(4);
    m_bar->setStyleSheet(QStringLiteral("QProgressBar{border: 0px; border-radius: 2px; background-color: #D1D1D1;}"
                                        "QProgressBar::chunk{background-color: #3598fe; width: 5px;}"));
    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(40, 6, 40, 8);
    layout->setSpacing(6);
    layout->addWidget(m_text);
    layout->addWidget(m_bar);
    parent->installEventFilter(this);
    placeAtBottom();
    hide();
}

void WorkingCaption::showWorking(const QString& text)
{
    m_text->setText(text);
    placeAtBottom();
    raise();
    QWidget::show();
}

QString WorkingCaption::text() const
{
    return m_text->text();
}

void WorkingCaption::placeAtBottom()
{
    const QWidget* over = parentWidget();
    setGeometry(0, over->height() - kHeight, over->width(), kHeight);
}

bool WorkingCaption::eventFilter(QObject* watched, QEvent* event)
{
    if (watched == parentWidget() && event->type() == QEvent::Resize)
        placeAtBottom();
    return QWidget::eventFilter(watched, event);
}
