# Python 2.7 comes from the previous Debian release, through the mirror that this machine already uses.
#
# Every apt source that names this machine's release is repeated for the previous one and pinned so low that only
# packages asked for by name, and what they alone need, come from it.

readonly KZ_APT_ETC=/etc/apt
readonly KZ_SOURCE_NAME=kz-previous-release

# Prints the release before the one given; only releases known to carry Python 2.7 count.
previous_release_of() {
    case $1 in
        bookworm) echo bullseye ;;
        bullseye) echo buster ;;
    esac
}

# Rewrites one deb822 file for the previous release: only stanzas that name the current one, nothing when there is none.
derive_deb822() {
    awk -v now="$2" -v before="$3" '
        function flush_stanza() {
            if (!off && binary && suites != "") printf "%sTypes: deb\nSuites:%s\nComponents: main\n\n", kept, suites
            kept = ""; suites = ""; off = 0; binary = 0; field = ""
        }
        function add_suites(text,    n, words, i) {
            n = split(text, words, /[ \t]+/)
            for (i = 1; i <= n; i++)
                if (words[i] == now || words[i] == now "-security") {
                    sub(now, before, words[i]); suites = suites " " words[i]
                }
        }
        /^#/ { next }
        /^[ \t]*$/ { flush_stanza(); next }
        /^[^ \t]/ { field = tolower($0); sub(/:.*/, "", field) }
        { value = $0; if (value ~ /^[^ \t]/) sub(/^[^:]*:[ \t]*/, "", value) }
        field == "suites" { add_suites(value); next }
        field == "types" { if ((" " value " ") ~ /[ \t]deb[ \t]/) binary = 1; next }
        field == "components" { next }
        field == "enabled" { if (tolower(value) ~ /^(no|false|0)/) off = 1; next }
        { kept = kept $0 "\n" }
        END { flush_stanza() }' "$1"
}

# Rewrites one file of one-line sources in the same way.
derive_one_line() {
    awk -v now="$2" -v before="$3" '
        $1 != "deb" { next }
        {
            sub(/#.*/, "")
            options = match($0, /\[[^]]*\]/) ? substr($0, RSTART, RLENGTH) " " : ""
            if (options != "") $0 = substr($0, 1, RSTART - 1) " " substr($0, RSTART + RLENGTH)
            if ($3 == now || $3 == now "-security") {
                sub(now, before, $3)
                print "deb " options $2 " " $3 " main"
            }
        }' "$1"
}

# Where a mirror keeps releases that are no longer served: beside the live tree, under one more folder. What lies there
# is not renewed any more, so its date must not count.
to_archive_layout() {
    sed -E -e 's#/(debian(-security)?)/?( |$)#/debian-archive/\1\3#g' \
        -e 's#^Types:#Check-Valid-Until: no\n&#' \
        -e 's#^deb \[#&check-valid-until=no #; t' -e 's#^deb #&[check-valid-until=no] #'
}

# Does apt accept this source file on its own, without touching the lists of the others?
source_answers() {
    as_root apt-get "${KZ_APT_OPTIONS[@]}" -o Dir::Etc::sourcelist="$1" -o Dir::Etc::sourceparts=- \
        -o APT::Get::List-Cleanup=0 -o APT::Update::Error-Mode=any update >/dev/null 2>&1
}

# Keeps the derived text (standard input) as source file PATH if the mirror answers for it in either layout.
add_source() {
    local path=$1 text
    text=$(cat)
    [ -n "$text" ] || return 1
    root_write "$path" <<<"$text"
    source_answers "$path" && return
    to_archive_layout <<<"$text" | root_write "$path"
    source_answers "$path" && { say "the mirror keeps the previous release in its archive"; return; }
    as_root rm -f "$path"
    say "no answer for: $(grep -E '^(URIs:|deb )' <<<"$text")"
    return 1
}

# Splits derived text into separate sources, so that one that fails does not cost the others. Prints how many hold.
add_sources_from() {
    local file=$1 now=$2 before=$3 added=0 number=0 base item extension=${1##*.}
    base=$KZ_APT_ETC/sources.list.d/$KZ_SOURCE_NAME-$(basename "$file" ".$extension")
    if [ "$extension" = sources ]; then
        while IFS= read -r -d $'\036' item; do
            number=$((number + 1))
            add_source "$base-$number.sources" <<<"$item" && added=$((added + 1))
        done < <(derive_deb822 "$file" "$now" "$before" | awk 'BEGIN { RS = ""; ORS = "\n\036" } { print }')
    else
        while IFS= read -r item; do
            number=$((number + 1))
            add_source "$base-$number.list" <<<"$item" && added=$((added + 1))
        done < <(derive_one_line "$file" "$now" "$before")
    fi
    echo "$added"
}

# Nothing but what is asked for by name may come from the previous release.
pin_release() {
    local suite
    for suite in "$1" "$1-security"; do
        printf 'Package: *\nPin: release n=%s\nPin-Priority: 100\n\n' "$suite"
    done | root_write "$KZ_APT_ETC/preferences.d/$KZ_SOURCE_NAME"
}

add_previous_release() {
    local now before file total=0
    now=$(. /etc/os-release && echo "${VERSION_CODENAME:-}")
    before=$(previous_release_of "$now")
    [ -n "$before" ] || die "no release with Python 2.7 is known before '${now:-this system}'; set KZ_PYTHON2=/path/to/python2.7"
    say "adding the previous release ($before) of this machine's own package sources"
    pin_release "$before"
    for file in "$KZ_APT_ETC"/sources.list "$KZ_APT_ETC"/sources.list.d/*.list "$KZ_APT_ETC"/sources.list.d/*.sources; do
        case $file in *"/$KZ_SOURCE_NAME"*) continue ;; esac
        [ -f "$file" ] && total=$((total + $(add_sources_from "$file" "$now" "$before")))
    done
    [ "$total" -gt 0 ] && return
    as_root rm -f "$KZ_APT_ETC/preferences.d/$KZ_SOURCE_NAME"
    die "no package source of this machine serves $before, neither in place nor in an archive; set KZ_PYTHON2=/path/to/python2.7"
}
