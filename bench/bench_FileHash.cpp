// The hash of a downloaded image against that of the openssl command, and against what
// no hash of a file can be faster than: the hashing alone.

#include "BareChild.h"
#include "LargeFile.h"
#include "Measure.h"
#include "Platform/FileHash.h"

#include <QCoreApplication>
#include <QFile>
#include <memory>
#include <openssl/evp.h>

namespace {

constexpr int mebibytes = 1024;
constexpr qsizetype mebibyte = 1024 * 1024;
constexpr int rounds = 11;

QByteArray ourHash(const LargeFile &file)
{
    const auto hash = QCoro::waitFor(calculateSHA256(file.path(), {}));
    if (!hash)
        qFatal("There is no hash");
    return hash->hexadecimal;
}

/// Leaves the hash in the file beside.
void runOpenSSL(const LargeFile &file)
{
    const QByteArray result = QFile::encodeName(file.pathBeside(QStringLiteral("hash")));
    BareChild::run({.executable = "/usr/bin/openssl",
                    .arguments = {"dgst", "-sha256", "-r", "-out", result, QFile::encodeName(file.path())},
                    .environment = {}});
}

void compareHashes(const LargeFile &file)
{
    runOpenSSL(file);
    QFile result(file.pathBeside(QStringLiteral("hash")));
    if (!result.open(QIODevice::ReadOnly) || !result.readLine().startsWith(ourHash(file) + ' '))
        qFatal("The hashes differ");
}

/// Hashes as many bytes, which are in the processor's cache already.
void hashAlone()
{
    static const QByteArray chunk(mebibyte, 'x');
    const std::unique_ptr<EVP_MD_CTX, void (*)(EVP_MD_CTX *)> context(EVP_MD_CTX_new(), EVP_MD_CTX_free);
    unsigned char digest[EVP_MAX_MD_SIZE];
    bool isGood = EVP_DigestInit_ex(context.get(), EVP_sha256(), nullptr) == 1;
    for (int i = 0; i < mebibytes && isGood; ++i)
        isGood = EVP_DigestUpdate(context.get(), chunk.constData(), std::size_t(chunk.size())) == 1;
    if (!isGood || EVP_DigestFinal_ex(context.get(), digest, nullptr) != 1)
        qFatal("OpenSSL hashes nothing");
}

struct Rival {
    const char *name;
    std::function<void()> run;
    double target;
};

/// `prepare` is called before each run of either.
void hashing(const LargeFile &file, const char *where, const std::function<void()> &prepare, const Rival &rival)
{
    const auto timed = [&prepare](const std::function<void()> &call) {
        prepare();
        return seconds(call);
    };
    const Comparison time =
        compare(rounds, [&] { return timed([&] { ourHash(file); }); }, [&] { return timed(rival.run); });
    report({.name = QStringLiteral("SHA-256 of 1 GiB %1").arg(QLatin1String(where)),
            .measured = milliseconds(time.ours),
            .against = milliseconds(time.theirs) + u' ' + QLatin1String(rival.name),
            .value = time.ratio,
            .target = rival.target});
}

} // namespace

int main(int argc, char *argv[])
{
    const QCoreApplication application(argc, argv);
    const LargeFile file(mebibytes);
    compareHashes(file);
    const Rival openSSL{"openssl dgst -sha256", [&] { runOpenSSL(file); }, 0.8};
    hashing(file, "in the page cache", [] { }, openSSL);
    hashing(file, "in the page cache", [] { }, {"hashing alone, in memory", hashAlone, 1.05});
    hashing(file, "on the disk", [&] { file.evict(); }, openSSL);
}
