#!/usr/bin/env python3
"""Do the examples of GStreamer record and encode what moves, and nothing else?

    examples_test.py ROOT          GST_PLUGIN_PATH says where the element is
    examples_test.py ROOT live     with a camera, which takes half a minute
"""
import pathlib
import signal
import subprocess
import sys
import tempfile

try:
    import gi
    gi.require_version("Gst", "1.0")
    from gi.repository import Gst
except (ImportError, ValueError) as absent:
    print(f"skipped: {absent}")
    sys.exit(77)

NEEDED = ["avdec_h264", "qtdemux", "splitmuxsink", "matroskamux", "jpegenc", "avimux", "appsink"]
LIVE = ["rtspsrc", "rtph264depay", "h264parse", "rtph264pay"]
ZONES = '{"zones": [{"name": "left", "polygon": [[0, 0.3], [0.12, 0.3], [0.12, 1], [0, 1]]}]}'


def run(root, program, *arguments):
    done = subprocess.run([sys.executable, root / "examples/gstreamer" / program, *arguments], capture_output=True,
                          text=True, timeout=60, check=False)
    assert done.returncode == 0, done.stderr
    return done.stdout.splitlines()


def seconds_of(path):
    """How long a recording is: what its last buffer tells."""
    pipeline = Gst.parse_launch(f'filesrc location="{path}" ! matroskademux ! fakesink name=sink sync=false')
    pipeline.set_state(Gst.State.PLAYING)
    message = pipeline.get_bus().timed_pop_filtered(20 * Gst.SECOND, Gst.MessageType.EOS | Gst.MessageType.ERROR)
    assert message and message.type == Gst.MessageType.EOS, f"{path} cannot be read"
    found, duration = pipeline.query_duration(Gst.Format.TIME)
    pipeline.set_state(Gst.State.NULL)
    assert found
    return duration / Gst.SECOND


def test_records_events_with_what_was_before(root, folder):
    (folder / "zones.json").write_text(ZONES)
    said = run(root, "record_events.py", root / "samples/crossing.mp4", folder, "--zones", folder / "zones.json",
               "--pre-roll", "1", "--post-roll", "0.5")
    begins = [float(line.split()[2]) for line in said if line.startswith("motion from")]
    ends = [float(line.split()[2]) for line in said if line.startswith("motion until")]
    assert len(begins) == len(ends) > 1, said
    # The sample has a keyframe every ten seconds and lasts for 54: those groups are written which an event touches.
    wanted = [any(begin - 1 < 10 * group + 10 and end + 0.5 >= 10 * group for begin, end in zip(begins, ends))
              for group in range(6)]
    runs, length = [], 0
    for group, is_wanted in enumerate(wanted + [False]):
        if is_wanted:
            length += 10 if group < 5 else 4
        elif length:
            runs.append(length)
            length = 0
    assert len(runs) > 1, said  # or nothing would be left out
    lengths = [seconds_of(path) for path in sorted(folder.glob("event*.mkv"))]
    assert len(lengths) == len(runs), (lengths, runs)
    assert all(abs(length - run) < 0.2 for length, run in zip(lengths, runs)), (lengths, runs)


def test_encodes_only_what_moves(root, folder):
    sizes = {}
    for pattern in ("ball", "smpte75"):
        source = f"videotestsrc pattern={pattern} num-buffers=120 ! video/x-raw,format=I420,width=160,height=120"
        said = run(root, "encode_motion.py", source, folder / pattern)
        assert said[-1].startswith("0 events" if pattern == "smpte75" else "1 events"), said
        sizes[pattern] = (folder / pattern).stat().st_size
    assert sizes["smpte75"] < 20000 < sizes["ball"], sizes


def live_test_records_a_camera_from_before_its_first_event(root, folder):
    server = subprocess.Popen([sys.executable, root / "tests/tools/mdscan/rtsp_server.py", root / "samples/crossing.mp4",
                               "0", "rtph264pay"], stdout=subprocess.PIPE, text=True)
    recorder = None
    try:
        port = server.stdout.readline().strip()
        recorder = subprocess.Popen([sys.executable, root / "examples/gstreamer/record_events.py",
                                     f"rtsp://127.0.0.1:{port}/camera", folder, "--pre-roll", "1", "--post-roll", "0.5"],
                                    stdout=subprocess.PIPE, text=True)
        said = []
        while len(said) < 2:
            said.append(recorder.stdout.readline())
            assert said[-1], said
        recorder.send_signal(signal.SIGINT)
        assert recorder.wait(timeout=20) == 0
    finally:
        for process in (server, recorder):
            if process:
                process.kill()
                process.wait()
                process.stdout.close()
    begin, end = (float(line.split()[2]) for line in said)
    # The sample moves from 9.3 to 21 seconds of it and has a keyframe every ten: the recording begins with the first.
    assert 8 < begin < 11 and 19 < end < 23, said
    files = sorted(folder.glob("event*.mkv"))
    assert len(files) == 1, files
    assert seconds_of(files[0]) > end - 0.5, (seconds_of(files[0]), said)


def main():
    Gst.init(None)
    is_live = sys.argv[2:] == ["live"]
    missing = [name for name in NEEDED + (LIVE if is_live else []) if not Gst.ElementFactory.find(name)]
    if is_live:
        try:
            gi.require_version("GstRtspServer", "1.0")
        except ValueError:
            missing.append("RTSP server")
    if missing:
        print("skipped: no " + ", ".join(missing))
        return 77
    for name, test in list(globals().items()):
        if name.startswith("live_test_" if is_live else "test_"):
            with tempfile.TemporaryDirectory() as folder:
                test(pathlib.Path(sys.argv[1]), pathlib.Path(folder))
            print(f"{name}: as it should be")
    return 0


if __name__ == "__main__":
    sys.exit(main())
