// Prints the PSNR in dB between two pictures of the same size (RGB, 8 bits).
//   jpeg-psnr A.jpg B.jpg
#include <QGuiApplication>
#include <QImage>

#include <cmath>
#include <cstdio>

int main(int argc, char** argv)
{
    if (argc != 3) {
        std::fprintf(stderr, "usage: %s A B\n", argv[0]);
        return 2;
    }
    const QImage a = QImage(QString::fromLocal8Bit(argv[1])).convertToFormat(QImage::Format_RGB888);
    const QImage b = QImage(QString::fromLocal8Bit(argv[2])).convertToFormat(QImage::Format_RGB888);
    if (a.isNull() || b.isNull() || a.size() != b.size()) {
        std::fprintf(stderr, "cannot compare %s and %s\n", argv[1], argv[2]);
        return 1;
    }
    double sum = 0;
    for (int y = 0; y < a.height(); ++y) {
        const uchar* pa = a.constScanLine(y);
        const uchar* pb = b.constScanLine(y);
        for (int x = 0; x < a.width() * 3; ++x) {
            const double d = double(pa[x]) - double(pb[x]);
            sum += d * d;
        }
    }
    const double mse = sum / (double(a.width()) * a.height() * 3);
    std::printf("%.2f\n", mse == 0 ? 99.0 : 10 * std::log10(255.0 * 255.0 / mse));
    return 0;
}
