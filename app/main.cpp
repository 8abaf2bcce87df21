#include "InstanceMutex.h"
#include "Pictova.h"

#include <QApplication>

int main(int argc, char* argv[])
{
    QApplication app(argc, argv);

    InstanceMutex instance;
    if (!instance.tryCreate(QStringLiteral("Pictova"))) {
        // Another copy runs: leave quietly, it keeps the user's work.
        instance.release();
        return -1;
    }

    int exitCode = 0;
    {
        Pictova window;
        window.show();
        exitCode = app.exec();
    }
    instance.release();
    return exitCode;
}
