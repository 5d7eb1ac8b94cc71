// Draws the configurator's 32x32 icons into resources/png/32. Run by hand when an icon changes:
//   draw-icons <repository>/resources/png/32

#include <QDir>
#include <QGuiApplication>
#include <QImage>
#include <QPainter>
#include <QPainterPath>
#include <functional>

namespace
{

void save(const QString &dir, const QString &name, const std::function<void(QPainter &)> &draw)
{
    QImage image(32, 32, QImage::Format_ARGB32_Premultiplied);
    image.fill(Qt::transparent);
    QPainter painter(&image);
    painter.setRenderHint(QPainter::Antialiasing);
    draw(painter);
    painter.end();
    image.save(QDir(dir).filePath(name + QStringLiteral(".png")));
}

// A meter dial with a pulse needle: the configurator.
void drawAutomatic(QPainter &p)
{
    p.setPen(QPen(QColor(0x1f, 0x4e, 0x79), 2));
    p.setBrush(QColor(0xdd, 0xeb, 0xf7));
    p.drawEllipse(QRectF(3, 3, 26, 26));
    p.setPen(QPen(QColor(0xc0, 0x39, 0x2b), 2.5, Qt::SolidLine, Qt::RoundCap));
    p.drawLine(QPointF(16, 16), QPointF(23, 9));
    p.setPen(QPen(QColor(0x1f, 0x4e, 0x79), 2, Qt::SolidLine, Qt::RoundCap));
    for (int i = 0; i < 5; ++i) {
        p.save();
        p.translate(16, 16);
        p.rotate(-135 + i * 45 + 45);
        p.drawLine(QPointF(0, -11), QPointF(0, -8));
        p.restore();
    }
    p.setBrush(QColor(0x1f, 0x4e, 0x79));
    p.drawEllipse(QPointF(16, 16), 2.5, 2.5);
}

// A person's head and shoulders: the login field.
void drawLogin(QPainter &p)
{
    p.setPen(Qt::NoPen);
    p.setBrush(QColor(0x2e, 0x6d, 0xa4));
    p.drawEllipse(QRectF(10, 3, 12, 12));
    QPainterPath body;
    body.moveTo(4, 30);
    body.cubicTo(4, 18, 28, 18, 28, 30);
    body.closeSubpath();
    p.drawPath(body);
}

// A key: the password field.
void drawKey(QPainter &p)
{
    p.setPen(QPen(QColor(0xb7, 0x86, 0x0b), 3, Qt::SolidLine, Qt::RoundCap));
    p.setBrush(Qt::NoBrush);
    p.drawEllipse(QRectF(3, 9, 13, 13));
    p.drawLine(QPointF(16, 15.5), QPointF(29, 15.5));
    p.drawLine(QPointF(25, 15.5), QPointF(25, 21));
    p.drawLine(QPointF(21, 15.5), QPointF(21, 20));
}

// A tick in a green disc: the confirm button.
void drawOk(QPainter &p)
{
    p.setPen(Qt::NoPen);
    p.setBrush(QColor(0x27, 0xae, 0x60));
    p.drawEllipse(QRectF(2, 2, 28, 28));
    p.setPen(QPen(Qt::white, 3.5, Qt::SolidLine, Qt::RoundCap, Qt::RoundJoin));
    p.setBrush(Qt::NoBrush);
    QPainterPath tick;
    tick.moveTo(9, 16.5);
    tick.lineTo(14, 21.5);
    tick.lineTo(23, 11);
    p.drawPath(tick);
}

} // namespace

int main(int argc, char *argv[])
{
    QGuiApplication app(argc, argv);
    const QString dir = argc > 1 ? QString::fromLocal8Bit(argv[1]) : QStringLiteral(".");
    QDir().mkpath(dir);
    save(dir, QStringLiteral("automatic"), drawAutomatic);
    save(dir, QStringLiteral("login"), drawLogin);
    save(dir, QStringLiteral("key"), drawKey);
    save(dir, QStringLiteral("ok"), drawOk);
    return 0;
}
