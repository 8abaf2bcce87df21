// Installs the build into a staging prefix and runs what was installed: a
// rule that leaves something the programs need behind in the build tree, or
// puts it anywhere but beside them, fails here.
#include "TestSandbox.h"
#include "HeicFixture.h"
#include "SkinImages.h"

#include <QProcess>
#include <QtTest>

class tst_Install : public QObject
{
    Q_OBJECT

    QTemporaryDir m_stage;
    QString m_prefix;
    QString m_programDir;

    // Started through its link on the PATH, from another folder, with a
    // home of its own: it must still find everything beside its real file.
    QProcess* start(const QString& command, const QStringList& arguments, const QString& home)
    {
        auto* process = new QProcess(this);
        QProcessEnvironment env = QProcessEnvironment::systemEnvironment();
        env.insert("HOME", home);
        env.insert("XDG_RUNTIME_DIR", home);
        env.insert("QT_QPA_PLATFORM", "offscreen");
        process->setProcessEnvironment(env);
        process->setWorkingDirectory(home);
        process->setProcessChannelMode(QProcess::MergedChannels);
        process->start(m_prefix + "/bin/" + command, arguments);
        return process;
    }

private slots:
    void initTestCase()
    {
        QVERIFY(m_stage.isValid());
        m_prefix = m_stage.filePath("usr");
        QProcess install;
        install.setProcessChannelMode(QProcess::MergedChannels);
        install.start(PICTOVA_CMAKE_COMMAND, {"--install", PICTOVA_BUILD_DIR, "--prefix", m_prefix});
        QVERIFY(install.waitForFinished(240000));
        QVERIFY2(install.exitStatus() == QProcess::NormalExit && install.exitCode() == 0, install.readAll().constData());
        m_programDir = m_prefix + "/" PICTOVA_INSTALL_DIR;
    }

    void everythingTheProgramNeedsIsBesideIt()
    {
        QStringList missing;
        const QDir dir(m_programDir);
        for (const auto& image : SkinImages::skin)
            if (!QFileInfo::exists(dir.filePath("Skin" + QLatin1String(image.path))))
                missing << "Skin" + QLatin1String(image.path);
        for (const char* file : {"Pictova", "pictova-convert", "Version.ini", "help/tutorial.html", "help/faq.html"})
            if (!QFileInfo::exists(dir.filePath(file)))
                missing << file;
        if (dir.entryList({"*Decodex*"}, QDir::Files).isEmpty())
            missing << "the Decodex library";
        QVERIFY2(missing.isEmpty(), qPrintable(m_programDir + " lacks:\n" + missing.join('\n')));
        QVERIFY(QFileInfo::exists(m_prefix + "/share/applications/pictova.desktop"));
    }

    void installedConverterConverts()
    {
        QTemporaryDir work;
        const QString photo = work.filePath("IMG_0007.HEIC");
        QVERIFY(HeicFixture::write(photo, HeicFixture::quadrants(64, 48)));
        QProcess* convert = start("pictova-convert", {"-o", work.path(), photo}, work.path());
        QVERIFY(convert->waitForFinished(60000));
        QVERIFY2(convert->exitCode() == 0, convert->readAll().constData());
        QVERIFY(QFileInfo(work.filePath("IMG_0007.jpg")).size() > 0);
    }

    void installedProgramStarts()
    {
        QTemporaryDir home;
        QFile::setPermissions(home.path(), QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner);
        QProcess* program = start("pictova", {}, home.path());
        QVERIFY(program->waitForStarted(10000));
        // A program that cannot start (a missing library, a crash while the
        // window is built) is gone well within this time.
        QVERIFY(!program->waitForFinished(4000));
        program->kill();
        program->waitForFinished(10000);
        // Beside it, the program finds its pictures and its decoder.
        const QString output = QString::fromLocal8Bit(program->readAll());
        QVERIFY2(!output.contains("skin folder") && !output.contains("decoding library not found"), qPrintable(output));
    }
};

PICTOVA_TEST_GUILESS_MAIN(tst_Install)
#include "tst_Install.moc"
