#!/bin/bash
# make_update_image.sh BUNDLE OUTPUT
#
# Makes the disk image (HFS+, with an ISO 9660 view of the same files) of an update: the application bundle, a
# folder named *.app, and nothing beside it. An image that stands at OUTPUT is replaced only by a whole one.
set -euo pipefail

fail()
{
    echo "make_update_image: $1" >&2
    exit 1
}

[ $# -eq 2 ] || fail 'usage: make_update_image.sh BUNDLE OUTPUT'
bundle=$(realpath -e "$1")
output=$(realpath -m "$2")
name=$(basename "$bundle")
[[ $name == *.app && -f $bundle/Contents/Info.plist ]] || fail "$1 is no application bundle"

# Whoever attaches the image would refuse it for such a link.
while read -r -d '' link; do
    target=$(realpath -m "$link")
    [[ $(readlink "$link") != /* && $target == "$bundle"/* ]] || fail "$link leads out of the bundle"
done < <(find "$bundle" -type l -print0)

unfinished=$output.unfinished
trap 'rm -f "$unfinished"' EXIT
rm -f "$unfinished" # xorriso would add to it
xorriso -report_about SORRY -outdev "stdio:$unfinished" -hfsplus on -volid Vaelix -uid 0 -gid 0 \
    -map "$bundle" "/$name" -commit_eject none
mv "$unfinished" "$output"
