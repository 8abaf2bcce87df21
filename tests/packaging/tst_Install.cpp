// Installs the build into a staging prefix and runs what was installed: a
// rule that leaves something the programs need behind in the build tree, or
// puts it anywhere but beside them, fails here.
#include "TestSandbox.h"
#include "HeicFixture.h"
#include "SkinImages.h"

#include <QDir>
#include <QFileInfo>
#include <QProcess>
#include <QTemporaryDir>
#include <QtTest>

class tst_Install : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase()
    {
        QVERIFY(m_stage.isValid());
        m_prefix = m_stage.filePath(QStringLiteral("usr"));
        QProcess install;
        install.setProcessChannelMode(QProcess::MergedChannels);
        install.start(QStringLiteral(PICTOVA_CMAKE_COMMAND),
                      {QStringLiteral("--install"), QStringLiteral(PICTOVA_BUILD_DIR),
                       QStringLiteral("--prefix"), m_prefix});
        QVERIFY(install.waitForFinished(240000));
        QVERIFY2(install.exitStatus() == QProcess::NormalExit && install.exitCode() == 0,
                 install.readAll().constData());
        m_programDir = m_prefix + QStringLiteral("/" PICTOVA_INSTALL_DIR);
    }

    void everythingTheProgramNeedsIsBesideIt()
    {
        QStringList missing;
        const QDir dir(m_programDir);
        for (const auto& image : SkinImages::skin)
            if (!QFileInfo::exists(dir.filePath(QStringLiteral("Skin") + QLatin1String(image.path))))
                missing << QStringLiteral("Skin") + QLatin1String(image.path);
        for (const char* file : {"Pictova", "pictova-convert", "Version.ini", "help/tutorial.html",
                                 "help/faq.html"})
            if (!QFileInfo::exists(dir.filePath(QLatin1String(file))))
                missing << QLatin1String(file);
        if (dir.entryList({QStringLiteral("*Decodex*")}, QDir::Files).isEmpty())
            missing << QStringLiteral("the Decodex library");
        QVERIFY2(missing.isEmpty(), qPrintable(m_programDir + " lacks:\n" + missing.join('\n')));

#ifndef Q_OS_WIN
        // The commands on the PATH lead to the programs in their folder.
        for (const char* command : {"pictova", "pictova-convert"}) {
            const QFileInfo link(m_prefix + QStringLiteral("/bin/") + QLatin1String(command));
            QVERIFY2(link.exists() && QFileInfo(link.canonicalFilePath()).dir() == QDir(m_programDir).canonicalPath(),
                     command);
        }
        QVERIFY(QFileInfo::exists(m_prefix + "/share/applications/pictova.desktop"));
#endif
    }

    void installedConverterConverts()
    {
        QTemporaryDir work;
        QVERIFY(work.isValid());
        const QString photo = work.filePath(QStringLiteral("IMG_0007.HEIC"));
        QVERIFY(HeicFixture::write(photo, HeicFixture::quadrants(64, 48)));

        // Started through its link, from another folder: it must still find
        // Decodex beside its real file.
        QProcess convert;
        convert.setProcessEnvironment(privateHome(work.path()));
        convert.setWorkingDirectory(work.path());
        convert.setProcessChannelMode(QProcess::MergedChannels);
        const QString command =
#ifdef Q_OS_WIN
            m_programDir + QStringLiteral("/pictova-convert");
#else
            m_prefix + QStringLiteral("/bin/pictova-convert");
#endif
        convert.start(command, {QStringLiteral("-o"), work.path(), photo});
        QVERIFY(convert.waitForFinished(60000));
        QVERIFY2(convert.exitCode() == 0, convert.readAll().constData());
        QVERIFY(QFileInfo(work.filePath(QStringLiteral("IMG_0007.jpg"))).size() > 0);
    }

    void installedProgramStarts()
    {
        QTemporaryDir home;
        QVERIFY(home.isValid());
        QFile::setPermissions(home.path(), QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner);
        QProcess program;
        program.setProcessEnvironment(privateHome(home.path()));
        program.setProcessChannelMode(QProcess::MergedChannels);
        program.start(m_programDir + QStringLiteral("/Pictova"), QStringList());
        QVERIFY(program.waitForStarted(10000));
        // A program that cannot start (a missing library, a crash while the
        // window is built) is gone well within this time.
        QVERIFY(!program.waitForFinished(4000));
        program.kill();
        program.waitForFinished(10000);
        const QString output = QString::fromLocal8Bit(program.readAll());
        // Beside it, the program finds its pictures and its decoder.
        QVERIFY2(!output.contains(QLatin1String("skin folder")), qPrintable(output));
        QVERIFY2(!output.contains(QLatin1String("decoding library not found")), qPrintable(output));
    }

private:
    QProcessEnvironment privateHome(const QString& home) const
    {
        QProcessEnvironment env = QProcessEnvironment::systemEnvironment();
        env.insert(QStringLiteral("HOME"), home);
        env.insert(QStringLiteral("XDG_RUNTIME_DIR"), home);
        env.insert(QStringLiteral("QT_QPA_PLATFORM"), QStringLiteral("offscreen"));
        return env;
    }

    QTemporaryDir m_stage;
    QString m_prefix;
    QString m_programDir;
};

PICTOVA_TEST_GUILESS_MAIN(tst_Install)
#include "tst_Install.moc"
