#!/usr/bin/env python3
"""Encodes what moves, and nothing else: a tee whose second half has a valve that motion opens.

    encode_motion.py "videotestsrc pattern=ball num-buffers=300" moving.avi

Pictures wait for a second before the valve, so that an event's begin is in the file, too. Nothing is encoded while it is
shut.
"""
import sys

import gi

gi.require_version("Gst", "1.0")
from gi.repository import Gst  # noqa: E402 (its version is asked for first)

PIPELINE = """
    {source} ! tee name=split
    split. ! queue max-size-buffers=2 ! videoconvert ! coremd name=motion min-duration=0 ! fakesink sync=false async=false
    split. ! queue min-threshold-time=1000000000 max-size-time=0 max-size-buffers=0 max-size-bytes=0
           ! valve name=valve drop=true drop-mode=forward-sticky-events
           ! videoconvert ! jpegenc ! avimux ! filesink location="{path}" async=false
"""


def main():
    Gst.init(None)
    pipeline = Gst.parse_launch(PIPELINE.format(source=sys.argv[1], path=sys.argv[2]))
    valve = pipeline.get_by_name("valve")

    def on_message(_bus, message):
        structure = message.get_structure()
        if message.type == Gst.MessageType.ELEMENT and structure.get_name() in ("motion-begin", "motion-end"):
            valve.set_property("drop", structure.get_name() == "motion-end")
        return Gst.BusSyncReply.PASS

    bus = pipeline.get_bus()
    bus.set_sync_handler(on_message)
    pipeline.set_state(Gst.State.PLAYING)
    last = bus.timed_pop_filtered(Gst.CLOCK_TIME_NONE, Gst.MessageType.EOS | Gst.MessageType.ERROR)
    motion = pipeline.get_by_name("motion")
    print(f"{motion.get_property('events')} events in {motion.get_property('analysed')} analysed pictures")
    pipeline.set_state(Gst.State.NULL)
    return last.parse_error()[0].message if last.type == Gst.MessageType.ERROR else 0


if __name__ == "__main__":
    sys.exit(main())
