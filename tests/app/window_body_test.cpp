#include "app/window_body.h"
#include "tests/support/suite_registry.h"

#include <QImage>
#include <QPainter>
#include <QtTest>

class WindowBodyTest : public QObject
{
    Q_OBJECT

private slots:
    void shadowGrowsTowardsTheBody();
    void bodyAndOutline();

private:
    QImage paint() const
    {
        QImage image(120, 100, QImage::Format_ARGB32);
        image.fill(Qt::transparent);
        QPainter painter(&image);
        paintWindowBody(painter, image.rect());
        return image;
    }
};

void WindowBodyTest::shadowGrowsTowardsTheBody()
{
    const QImage image = paint();
    const int middle = image.height() / 2;
    QCOMPARE(image.pixelColor(0, middle).alpha(), 0);
    // Ring k covers every pixel from k on: the outermost visible pixel has ring 1 alone, the next one rings 1 and 2.
    const QColor outermost = image.pixelColor(1, middle);
    QCOMPARE(outermost.alpha(), 7);
    QVERIFY(qAbs(outermost.red() - 180) < 8); // premultiplied on the way: few levels are left at this alpha
    int last = 7;
    for (int x = 2; x < 7; ++x) {
        const int alpha = image.pixelColor(x, middle).alpha();
        QVERIFY2(alpha > last, qPrintable(QStringLiteral("x=%1: %2 after %3").arg(x).arg(alpha).arg(last)));
        last = alpha;
    }
}

void WindowBodyTest::bodyAndOutline()
{
    const QImage image = paint();
    QCOMPARE(image.pixelColor(60, 50), QColor(230, 233, 240, 255));
    // The outline is two pixels wide, centred on the body's edge.
    const QColor edge = image.pixelColor(8, 50);
    QVERIFY2(edge.red() < 200 && edge.alpha() == 255, qPrintable(edge.name(QColor::HexArgb)));
    QCOMPARE(image.pixelColor(10, 50), QColor(230, 233, 240, 255));
    // Corners are round: the corner pixel of the body's rectangle shows shadow only.
    QVERIFY(image.pixelColor(8, 8).alpha() < 120);
}

PLUGBOARD_SUITE(WindowBodyTest)
#include "window_body_test.moc"
