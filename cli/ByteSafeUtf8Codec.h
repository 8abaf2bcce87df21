#pragma once

#include <QTextCodec>

// UTF-8 that gives every byte sequence back as it came. A file name on Linux
// is bytes; one written on an old camera or copied from a Latin-1 system is
// not valid UTF-8, and Qt's own UTF-8 codec turns such bytes into U+FFFD, so
// the name can no longer be opened. Here each byte that is not part of valid
// UTF-8 becomes the lone surrogate U+DC80..U+DCFF and turns back into the same
// byte when the name is encoded again (Python calls this "surrogateescape";
// Qt has no such codec).
//
// install() makes it the codec for the locale, which Qt uses for file names,
// arguments and the console streams. Only the command-line tool installs it.
class ByteSafeUtf8Codec : public QTextCodec
{
public:
    static void install();

    QByteArray name() const override;
    int mibEnum() const override;

protected:
    QString convertToUnicode(const char* in, int length, ConverterState* state) const override;
    QByteArray convertFromUnicode(const QChar* in, int length, ConverterState* state) const override;
};
