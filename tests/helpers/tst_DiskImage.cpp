#include "Support/Table.h"

#include "DiskImage.h"

using namespace Qt::StringLiterals;

/// What 7z lists, also what no image made here could bring it to list.
class tst_DiskImage : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void listing_data();
    void listing();
};

void tst_DiskImage::listing_data()
{
    const auto add = columns<QByteArray, bool>("entries", "isTaken");
    add("a file", "Path = a/b\nSize = 7\n"_ba, true);
    add("a link beside its target", "Path = a/link\nSize = 1\nSymbolic Link = ../b\n"_ba, true);
    add("a link that leads out", "Path = a/link\nSize = 1\nSymbolic Link = ../../b\n"_ba, false);
    add("a link in the folder itself, named with a dot", "Path = ./link\nSize = 1\nSymbolic Link = ../b\n"_ba, false);
    add("a link that leads out and back", "Path = link\nSize = 1\nSymbolic Link = ../volume/a\n"_ba, false);
    add("a name that leads out", "Path = a/../../b\nSize = 1\n"_ba, false);
    add("a name that is a folder's", "Path = a/\nSize = 1\nSymbolic Link = ../b\n"_ba, false);
    add("as much as there may be", "Path = a\nSize = 2147483648\nPath = b\nSize = 0\n"_ba, true);
    add("a byte more", "Path = a\nSize = 2147483648\nPath = b\nSize = 1\n"_ba, false);
    add("a size that is no 64-bit number", "Path = a\nSize = 18446744073709551617\n"_ba, false);
}

void tst_DiskImage::listing()
{
    QFETCH(QByteArray, entries);
    QFETCH(bool, isTaken);

    const QByteArray text = "Type = Dmg\n--\nType = HFS\n----------\n" + entries;
    const auto listing = Archive::readListing({text.constData(), std::size_t(text.size())});
    QCOMPARE(DiskImage::checkListing(listing).has_value(), isTaken);
}

QTEST_APPLESS_MAIN(tst_DiskImage)
#include "tst_DiskImage.moc"
