// Paints the demo's jog panel picture at build time: rkMakeJogPanel OUT.png

#include "rkJogPanelLayout.h"

#include <QColor>
#include <QFont>
#include <QGuiApplication>
#include <QImage>
#include <QPainter>

#include <cstdio>

namespace {

const int kInset = 3; // gap between neighbouring buttons, in pixels
const int kCornerRadius = 6;
const QColor kBackground(24, 28, 34, 200);
const QColor kAxisColours[3] = {QColor(200, 40, 40), QColor(40, 160, 60), QColor(50, 80, 210)};

void paintButton(QPainter& painter, int index)
{
    using namespace RkJogPanelLayout;
    const Button& button = BUTTONS[index];
    const QRect area(kInset, firstRow(index) + kInset, IMAGE_WIDTH - 2 * kInset,
                     BUTTON_HEIGHT - 2 * kInset);
    QColor fill = kAxisColours[button.axis];
    if (button.direction < 0)
        fill = fill.darker(140);
    painter.setPen(QPen(fill.lighter(150), 1.5));
    painter.setBrush(fill);
    painter.drawRoundedRect(area, kCornerRadius, kCornerRadius);
    painter.setPen(Qt::white);
    painter.drawText(area, Qt::AlignCenter, QString::fromLatin1(button.label));
}

} // namespace

int main(int argc, char** argv)
{
    if (argc != 2) {
        std::fprintf(stderr, "usage: rkMakeJogPanel OUT.png\n");
        return 2;
    }
    qputenv("QT_QPA_PLATFORM", "offscreen");
    QGuiApplication application(argc, argv);
    QImage image(RkJogPanelLayout::IMAGE_WIDTH, RkJogPanelLayout::IMAGE_HEIGHT,
                 QImage::Format_ARGB32);
    image.fill(kBackground);
    QPainter painter(&image);
    painter.setRenderHint(QPainter::Antialiasing);
    QFont font = painter.font();
    font.setPixelSize(18);
    font.setBold(true);
    painter.setFont(font);
    for (int i = 0; i < RkJogPanelLayout::BUTTON_COUNT; ++i)
        paintButton(painter, i);
    painter.end();
    if (!image.save(QString::fromLocal8Bit(argv[1]), "PNG")) {
        std::fprintf(stderr, "rkMakeJogPanel: cannot write %s\n", argv[1]);
        return 1;
    }
    return 0;
}
