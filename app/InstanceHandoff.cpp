#include "InstanceHandoff.h"

#include "Platform.h"

#include <QDeadlineTimer>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QLocalServer>
#include <QLocalSocket>
#include <QThread>
#include <QTimer>
#include <QUrl>
#include <QtEndian>

namespace {

const char kMagic[] = "PICTOVA1";
constexpr int kMagicSize = 8;
constexpr int kHeaderSize = kMagicSize + 4;
constexpr char kAnswer = 'K';
// A socket that never finishes its request is dropped after this long.
constexpr int kRequestTimeoutMs = 10000;

} // namespace

InstanceHandoff::InstanceHandoff(const QString& name, QObject* parent)
    : QObject(parent)
    , m_name(name)
{
}

InstanceHandoff::~InstanceHandoff()
{
    // The lock itself stays held until the process ends (InstanceMutex).
    m_lock.release();
}

bool InstanceHandoff::claim()
{
    m_problem.clear();
    if (!m_lock.tryCreate(m_name))
        return false;
    m_problem = m_lock.problem();
    listen();
    return true;
}

void InstanceHandoff::listen()
{
    QString why;
    const QString channel = Platform::instanceChannelName(m_name, &why);
    if (channel.isEmpty()) {
        m_problem = why;
        return;
    }
    m_server = new QLocalServer(this);
    m_server->setSocketOptions(QLocalServer::UserAccessOption);
    // We hold the lock, so a socket left at the name is a dead copy's.
    QLocalServer::removeServer(channel);
    if (!m_server->listen(channel)) {
        m_problem = QStringLiteral("later starts cannot hand their files over (%1: %2)")
                        .arg(channel, m_server->errorString());
        return;
    }
    connect(m_server, &QLocalServer::newConnection, this, &InstanceHandoff::acceptConnections);
}

void InstanceHandoff::acceptConnections()
{
    while (QLocalSocket* socket = m_server->nextPendingConnection()) {
        connect(socket, &QLocalSocket::disconnected, socket, &QObject::deleteLater);
        connect(socket, &QLocalSocket::readyRead, this, [this, socket] { readRequest(socket); });
        QTimer::singleShot(kRequestTimeoutMs, socket, [socket] { socket->abort(); });
        readRequest(socket);
    }
}

void InstanceHandoff::readRequest(QLocalSocket* socket)
{
    QStringList files;
    // The request is left in the socket until it is whole.
    const qint64 waiting = qMin<qint64>(socket->bytesAvailable(), kHeaderSize + kMaxRequestBytes);
    const int result = decodeRequest(socket->peek(waiting), &files);
    if (result == 0)
        return;
    if (result < 0) {
        socket->abort();
        return;
    }
    socket->readAll();
    socket->write(&kAnswer, 1);
    socket->disconnectFromServer();
    emit filesArrived(files);
}

bool InstanceHandoff::handOver(const QStringList& files, int timeoutMs)
{
    m_problem.clear();
    QString why;
    const QString channel = Platform::instanceChannelName(m_name, &why);
    if (channel.isEmpty()) {
        m_problem = why;
        return false;
    }
    Platform::allowForegroundHandoff();
    const QByteArray request = encodeRequest(files);
    const QDeadlineTimer deadline(timeoutMs);
    QLocalSocket socket;
    // The running copy may have taken the lock and not be listening yet.
    for (;;) {
        socket.connectToServer(channel);
        if (socket.waitForConnected(int(qMax<qint64>(deadline.remainingTime(), 1))))
            break;
        if (deadline.hasExpired()) {
            m_problem = QStringLiteral("it did not answer (%1)").arg(socket.errorString());
            return false;
        }
        QThread::msleep(100);
    }
    socket.write(request);
    while (socket.bytesToWrite() > 0 && !deadline.hasExpired())
        socket.waitForBytesWritten(int(qMax<qint64>(deadline.remainingTime(), 1)));
    char answer = 0;
    while (socket.bytesAvailable() < 1 && socket.state() == QLocalSocket::ConnectedState
           && !deadline.hasExpired())
        socket.waitForReadyRead(int(qMax<qint64>(deadline.remainingTime(), 1)));
    if (!socket.getChar(&answer) || answer != kAnswer) {
        m_problem = QStringLiteral("it did not take the files (%1)").arg(socket.errorString());
        return false;
    }
    return true;
}

QStringList InstanceHandoff::filesFromArguments(const QStringList& arguments)
{
    QStringList files;
    for (int i = 1; i < arguments.size(); ++i) {
        QString path = arguments.at(i);
        if (path.startsWith(QLatin1String("file:"), Qt::CaseInsensitive))
            path = QUrl(path).toLocalFile();
        if (!path.isEmpty())
            files << QDir::cleanPath(QFileInfo(path).absoluteFilePath());
    }
    return files;
}

QByteArray InstanceHandoff::encodeRequest(const QStringList& files)
{
    QByteArray body;
    for (const QString& file : files)
        body += QFile::encodeName(file) + '\0';
    QByteArray request(kMagic, kMagicSize);
    char length[4];
    qToBigEndian<quint32>(quint32(body.size()), length);
    request.append(length, 4);
    return request + body;
}

int InstanceHandoff::decodeRequest(const QByteArray& buffer, QStringList* files)
{
    if (!QByteArray(kMagic, kMagicSize).startsWith(buffer.left(kMagicSize)))
        return -1;
    if (buffer.size() < kHeaderSize)
        return 0;
    const quint32 length = qFromBigEndian<quint32>(buffer.constData() + kMagicSize);
    if (length > quint32(kMaxRequestBytes) || (length > 0 && buffer.size() >= kHeaderSize + int(length)
                                               && buffer.at(kHeaderSize + int(length) - 1) != '\0'))
        return -1;
    if (buffer.size() < kHeaderSize + int(length))
        return 0;
    files->clear();
    const QByteArray body = buffer.mid(kHeaderSize, int(length));
    int start = 0;
    while (start < body.size()) {
        const int end = body.indexOf('\0', start);
        if (end > start)
            *files << QFile::decodeName(body.mid(start, end - start));
        start = end + 1;
    }
    return 1;
}
