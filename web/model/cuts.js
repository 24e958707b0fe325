// Which shell script cuts events out of their recordings?  For any POSIX shell; in bytes, as names of files are.
const encoder = new TextEncoder();

// A relative address, or the path of one, as the bytes of a name: "%" and two digits stand for one.
function nameBytes(address) {
  const bytes = [];
  for (let i = 0; i < address.length; ++i) {
    const coded = /^%[0-9a-f]{2}$/i.test(address.slice(i, i + 3));
    bytes.push(coded ? parseInt(address.slice(i + 1, i + 3), 16) : address.charCodeAt(i));
    i += coded ? 2 : 0;
  }
  return bytes;
}

// Within single quotes a shell takes every byte as it is, except for the quote itself.
function quoted(bytes) {
  const quote = 39;
  return [quote, ...bytes.flatMap((byte) => byte === quote ? [...encoder.encode("'\\''")] : [byte]), quote];
}

// Nothing in it is special to a shell or a file system: "0007_front-door_75s.mp4".
function resultName(event, number, address) {
  const name = event.input.file.slice(event.input.file.lastIndexOf("/") + 1).replace(/\.[^.]*$/, "");
  const plain = name.replace(/[^A-Za-z0-9.-]+/g, "-").slice(0, 60);
  const ending = /\.(mp4|m4v|mov)$/i.test(address) ? ".mp4" : ".mkv";      // the latter holds whatever the others hold
  return String(number).padStart(4, "0") + "_" + plain + "_" + Math.floor(event.start) + "s" + ending;
}

const head = `#!/bin/sh
# Cuts events out of their recordings with ffmpeg, copied as they are: a cut begins at the complete picture before its event.
#   sh cuts.sh [FOLDER [RESULTS]]     FOLDER: where the page is, which recordings are looked for from; RESULTS: ./cuts
set -u
`;
const body = `
results=\${2:-cuts}
failed=0
now=
trap 'rm -f -- "$now"; exit 130' HUP INT TERM
mkdir -p -- "$results" || exit 1

cut() {  # from second $1 on, $2 seconds of $3, as $4; what is there already is left alone
    [ -e "$results/$4" ] && return
    now=$results/$4
    if ! ffmpeg -nostdin -hide_banner -loglevel error -ss "$1" -i "file:$folder/$3" -t "$2" -map 0:v:0 -map '0:a?' \\
            -c copy -avoid_negative_ts make_zero "file:$results/$4"; then
        rm -f -- "$results/$4"
        failed=$((failed + 1))
    fi
    now=
}

`;
const foot = `
[ "$failed" -eq 0 ] || { printf 'cuts that failed: %s\\n' "$failed" >&2; exit 1; }
`;

// folder: where the page is, coded as an address; empty: not known. without: how many events have no file to cut from.
export function cutScript(events, folder) {
  const bytes = [...encoder.encode(head), ...encoder.encode("own_folder="), ...quoted(nameBytes(folder || ".")),
                 ...encoder.encode('\nfolder=${1:-"$own_folder"}'), ...encoder.encode(body)];
  let without = 0;
  events.forEach((event, i) => {
    const address = event.input.link || event.link, at = event.input.link ? event.start : event.at;
    if (!address) {
      ++without;
      return;
    }
    const call = "cut " + at.toFixed(3) + " " + event.length.toFixed(3) + " ";
    bytes.push(...encoder.encode(call), ...quoted(nameBytes(address)),
               ...encoder.encode(" '" + resultName(event, i + 1, address) + "'\n"));
  });
  bytes.push(...encoder.encode(foot));
  return { script: new Uint8Array(bytes), without };
}
