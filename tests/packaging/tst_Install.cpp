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

    // What a distribution and a software centre check: lintian on the
    // Debian package (no error, no warning), both AppStream validators on
    // the metadata, and the desktop database offering the program for
    // both names of the photos' type. Each check is skipped without its tool.
    void packageMeetsTheDistributionsChecks_data()
    {
        QTest::addColumn<QString>("tool");
        for (const char* tool : {"lintian", "appstreamcli", "appstream-util", "update-desktop-database"})
            QTest::newRow(tool) << tool;
    }

    void packageMeetsTheDistributionsChecks()
    {
        QFETCH(QString, tool);
        if (QStandardPaths::findExecutable(tool).isEmpty())
            QSKIP(qPrintable(tool + " is not installed (scripts/install-deps.sh installs it)"));
        const QString metainfo = m_prefix + "/share/metainfo/local.pictova.pictova.metainfo.xml";
        QTemporaryDir work;
        QStringList arguments;
        if (tool == "lintian") {
            QProcess cpack;
            cpack.setProcessChannelMode(QProcess::MergedChannels);
            cpack.setWorkingDirectory(PICTOVA_BUILD_DIR);
            cpack.start(PICTOVA_CPACK_COMMAND, {"-G", "DEB", "-B", work.path()});
            QVERIFY(cpack.waitForFinished(300000));
            QVERIFY2(cpack.exitCode() == 0, cpack.readAll().constData());
            const QStringList debs = QDir(work.path()).entryList({"*.deb"});
            QCOMPARE(debs.size(), 1);
            arguments << "--tag-display-limit" << "0" << work.filePath(debs.first());
        } else if (tool == "appstreamcli") {
            arguments << "validate" << "--no-net" << metainfo;
        } else if (tool == "appstream-util") {
            arguments << "validate" << "--nonet" << metainfo;
        } else {
            QVERIFY(QFile::copy(m_prefix + "/share/applications/pictova.desktop", work.filePath("pictova.desktop")));
            arguments << work.path();
        }
        QProcess check;
        check.setProcessChannelMode(QProcess::MergedChannels);
        check.start(tool, arguments);
        QVERIFY(check.waitForFinished(300000));
        const QString said = QString::fromLocal8Bit(check.readAll());
        QVERIFY2(check.exitStatus() == QProcess::NormalExit && check.exitCode() == 0, qPrintable(said));
        if (tool == "lintian") {
            static const QRegularExpression complaint(QStringLiteral("^[EW]: "), QRegularExpression::MultilineOption);
            QVERIFY2(!said.contains(complaint), qPrintable(said));
        } else if (tool == "update-desktop-database") {
            QFile cache(work.filePath("mimeinfo.cache"));
            QVERIFY(cache.open(QIODevice::ReadOnly));
            const QByteArray types = cache.readAll();
            QVERIFY2(types.contains("image/heif=pictova.desktop;") && types.contains("image/heic=pictova.desktop;"),
                     types.constData());
        }
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
