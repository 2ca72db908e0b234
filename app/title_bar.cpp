#include "app/title_bar.h"

#include "app/build_date.h"
#include "ui/plain_tool_tip.h"
#include "ui/png.h"

#include <QHBoxLayout>
#include <QLabel>
#include <QPainter>
#include <QPushButton>

namespace {

QLabel* makeLogo(QWidget* parent)
{
    constexpr int kSize = 30;
    auto* label = new QLabel(parent);
    const qreal ratio = label->devicePixelRatioF();
    QPixmap logo = readPng(QStringLiteral(":/icons/res/logo.png"))
                       .scaled(QSize(kSize, kSize) * ratio, Qt::KeepAspectRatio, Qt::SmoothTransformation);
    logo.setDevicePixelRatio(ratio);
    label->setPixmap(logo);
    label->setFixedSize(kSize, kSize);
    label->setStyleSheet(QStringLiteral("background: #eee; border-radius: 15px;"));
    return label;
}

/// Its style sheet knows no border: who comes with the Tab key sees a ring.
class TitleButton final : public QPushButton
{
public:
    using QPushButton::QPushButton;

protected:
    void paintEvent(QPaintEvent* event) override
    {
        QPushButton::paintEvent(event);
        if (!hasFocus())
            return;
        constexpr qreal kRingWidth = 1.5;
        constexpr qreal kRadius = 4;
        const qreal inset = kRingWidth / 2;
        QPainter painter(this);
        painter.setRenderHint(QPainter::Antialiasing);
        painter.setPen(QPen(QColor(0x15, 0x65, 0xc0), kRingWidth));
        painter.drawRoundedRect(QRectF(rect()).adjusted(inset, inset, -inset, -inset), kRadius, kRadius);
    }
};

QPushButton* makeButton(const QString& text, const QString& toolTip, const QString& hoverColour, QWidget* parent)
{
    auto* button = new TitleButton(text, parent);
    button->setFixedSize(16, 16);
    button->setToolTip(toolTip);
    button->setAccessibleName(toolTip);
    button->setFocusPolicy(Qt::TabFocus);
    button->setStyleSheet(
        QStringLiteral("\n        QPushButton { background: #e8eaed; border-radius:12px; border:none; }"
                       "\n        QPushButton:hover { background: %1; }\n    ")
            .arg(hoverColour));
    showToolTipUnstyled(button);
    return button;
}

} // namespace

TitleBar::TitleBar(QWidget* parent) : QWidget(parent)
{
    setFixedHeight(44);
    setAttribute(Qt::WA_StyledBackground);
    setStyleSheet(QStringLiteral("\n        QWidget {"
                                 "\n            background: #e8eaed;"
                                 "\n            border-top-left-radius: 12px;"
                                 "\n            border-top-right-radius: 12px;"
                                 "\n        }"
                                 "\n    "));

    auto* date = new QLabel(buildDate(), this);
    date->setStyleSheet(QStringLiteral("color: #222; font-size: 17px; font-weight: 600;"));
    auto* minimize = makeButton(QStringLiteral("-"), tr("min"), QStringLiteral("#f9e784"), this);
    auto* close = makeButton(QStringLiteral("x"), tr("close"), QStringLiteral("#ffb4a2"), this);
    connect(minimize, &QPushButton::clicked, this, &TitleBar::minimizeRequested);
    connect(close, &QPushButton::clicked, this, &TitleBar::closeRequested);

    auto* layout = new QHBoxLayout(this);
    layout->setContentsMargins(16, 4, 16, 4);
    layout->setSpacing(10);
    layout->addWidget(makeLogo(this));
    layout->addWidget(date);
    layout->addStretch();
    layout->addWidget(minimize);
    layout->addWidget(close);
}
