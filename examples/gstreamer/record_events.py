#!/usr/bin/env python3
"""Records what moves, and some seconds before it, without encoding anything anew.

    record_events.py rtsp://camera/stream FOLDER     until it is interrupted
    record_events.py recording.mp4 FOLDER            to its end

The stream is split in two. One half is decoded and looked at by coremd. The other, as the camera encoded it, waits here for
as long as an event may still turn out to have begun with it. What has waited and belongs to an event, from a keyframe on,
goes to a pipeline of its own, where splitmuxsink begins a file with each event. H.264 only, for brevity.
"""
import argparse
import collections
import pathlib
import signal
import sys

import gi

gi.require_version("Gst", "1.0")
from gi.repository import GLib, Gst  # noqa: E402 (its version is asked for first)

PIPELINE = """
    {source} ! tee name=split
    split. ! queue max-size-time=1000000000 max-size-buffers=0 max-size-bytes=0 ! avdec_h264
           ! videoconvert ! coremd name=motion zones="{zones}" ! fakesink sync=false async=false
    split. ! queue ! appsink name=encoded emit-signals=true sync=false async=false
"""
CAMERA = 'rtspsrc location="{}" latency=200 ! rtph264depay ! h264parse ! video/x-h264,stream-format=avc'
RECORDING = 'filesrc location="{}" ! qtdemux ! queue'
# Of its own, since a splitmuxsink that gets nothing would keep the other pipeline from starting.
FILES = """
    appsrc name=chosen format=time
           ! splitmuxsink name=files muxer-factory=matroskamux async-finalize=true location="{folder}/event%05d.mkv"
"""


class Recorder:
    """What is to be written, in running time, and whether it is being written."""

    def __init__(self, pipeline, files, before, after, group):
        self.before, self.after = before, after
        self.wanted = collections.deque()  # [begin, end] of events with their rolls, in order; end None: it goes on
        self.waiting = collections.deque()  # (time, whether it is a keyframe, sample), the oldest first
        self.is_writing = self.has_written = False
        self.files, self.chosen = files.get_by_name("files"), files.get_by_name("chosen")
        # An event is known of before the keyframe is let go that it begins with: at most the pre-roll and a group of
        # pictures ago, and what the analysis may lag behind, its own queue and the least duration of an event.
        self.patience = before + group + 3 * Gst.SECOND
        pipeline.get_by_name("encoded").connect("new-sample", self.on_arrival)

    def on_begin(self, structure):
        begin = structure.get_uint64("running-time")[1]
        self.wanted.append([max(0, begin - self.before), None])
        print(f"motion from {begin / Gst.SECOND:.1f} s", flush=True)

    def on_end(self, structure):
        end = structure.get_uint64("running-time")[1]
        self.wanted[-1][1] = end + self.after
        print(f"motion until {end / Gst.SECOND:.1f} s, then {structure.get_string('reason')}", flush=True)

    def on_arrival(self, appsink):
        sample = appsink.emit("pull-sample")
        time = self.running_time(sample.get_buffer(), sample.get_segment())
        is_keyframe = not sample.get_buffer().has_flags(Gst.BufferFlags.DELTA_UNIT)
        self.waiting.append((time, is_keyframe, sample))
        self.let_go(time - self.patience)
        return Gst.FlowReturn.OK

    def let_go(self, end):
        """Of what waits whatever is not newer."""
        while self.waiting and self.waiting[0][0] <= end:
            time, is_keyframe, sample = self.waiting.popleft()
            if is_keyframe:  # whole groups of pictures, or none of one
                next_one = next((later for later, is_next, _ in self.waiting if is_next), float("inf"))
                while self.wanted and self.wanted[0][1] is not None and self.wanted[0][1] < time:
                    self.wanted.popleft()
                was_writing, self.is_writing = self.is_writing, bool(self.wanted) and self.wanted[0][0] < next_one
                if self.is_writing and not was_writing and self.has_written:
                    self.files.emit("split-at-running-time", sample.get_buffer().pts)
                self.has_written |= self.is_writing
            if self.is_writing:
                self.chosen.emit("push-sample", sample)

    @staticmethod
    def running_time(buffer, segment):
        """Of its decoding, which never falls."""
        time = buffer.dts if buffer.dts != Gst.CLOCK_TIME_NONE else buffer.pts
        running = segment.to_running_time(Gst.Format.TIME, time)
        return 0 if running == Gst.CLOCK_TIME_NONE else running


def main():
    parser = argparse.ArgumentParser(description=__doc__.split("\n", maxsplit=1)[0])
    parser.add_argument("input", help="an rtsp:// address, or an MP4 file")
    parser.add_argument("folder", type=pathlib.Path)
    parser.add_argument("--pre-roll", type=float, default=5, help="seconds before an event")
    parser.add_argument("--post-roll", type=float, default=2, help="seconds after it")
    parser.add_argument("--keyframes", type=float, default=10, help="most seconds from one keyframe to the next")
    parser.add_argument("--zones", default="", help="file of zones, as mdscan reads it")
    arguments = parser.parse_args()
    Gst.init(None)
    arguments.folder.mkdir(parents=True, exist_ok=True)
    source = (CAMERA if arguments.input.startswith("rtsp") else RECORDING).format(arguments.input)
    pipeline = Gst.parse_launch(PIPELINE.format(source=source, zones=arguments.zones))
    files = Gst.parse_launch(FILES.format(folder=arguments.folder))
    seconds = (arguments.pre_roll, arguments.post_roll, arguments.keyframes)
    recorder = Recorder(pipeline, files, *(int(each * Gst.SECOND) for each in seconds))
    loop, failures = GLib.MainLoop(), []

    # In the thread that found it, so that the recorder knows before the waiting part has moved on.
    def on_message_at_once(_bus, message):
        if message.type == Gst.MessageType.ELEMENT:
            structure = message.get_structure()
            if structure.get_name() == "motion-begin":
                recorder.on_begin(structure)
            elif structure.get_name() == "motion-end":
                recorder.on_end(structure)
        return Gst.BusSyncReply.PASS

    def on_message(_bus, message):
        if message.type == Gst.MessageType.ERROR:
            failures.append(message.parse_error()[0].message)
        if message.type in (Gst.MessageType.ERROR, Gst.MessageType.EOS):
            loop.quit()

    bus = pipeline.get_bus()
    bus.set_sync_handler(on_message_at_once)
    bus.add_signal_watch()
    bus.connect("message", on_message)
    files.get_bus().add_signal_watch()
    files.get_bus().connect("message::error", on_message)
    # What has come is still looked at, and the last file ended as it should be.
    GLib.unix_signal_add(GLib.PRIORITY_DEFAULT, signal.SIGINT, lambda: pipeline.send_event(Gst.Event.new_eos()))
    files.set_state(Gst.State.PLAYING)
    pipeline.set_state(Gst.State.PLAYING)
    loop.run()
    pipeline.set_state(Gst.State.NULL)
    recorder.let_go(float("inf"))  # all that moved is known
    if recorder.has_written:
        recorder.chosen.emit("end-of-stream")
        files.get_bus().timed_pop_filtered(10 * Gst.SECOND, Gst.MessageType.EOS | Gst.MessageType.ERROR)
    files.set_state(Gst.State.NULL)
    return failures[0] if failures else 0


if __name__ == "__main__":
    sys.exit(main())
