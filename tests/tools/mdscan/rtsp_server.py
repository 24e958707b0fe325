#!/usr/bin/env python3
"""Serves a video as a camera would, over RTSP: rtsp_server.py VIDEO.mp4 PORT [PAYLOADER]; port 0: any; rtpmp4vpay if no
other is named. Prints the port, nothing where the GStreamer server is not installed."""
import sys

try:
    import gi
    gi.require_version("Gst", "1.0")
    gi.require_version("GstRtspServer", "1.0")
    from gi.repository import GLib, Gst, GstRtspServer
except (ImportError, ValueError):
    sys.exit()

Gst.init(None)
payloader = sys.argv[3] if len(sys.argv) > 3 else "rtpmp4vpay"
if not all(Gst.ElementFactory.find(name) for name in ("filesrc", "qtdemux", payloader)):
    sys.exit()
factory = GstRtspServer.RTSPMediaFactory()
factory.set_launch(f"( filesrc location={sys.argv[1]} ! qtdemux ! {payloader} name=pay0 pt=96 )")
server = GstRtspServer.RTSPServer()
server.set_address("127.0.0.1")
server.set_service(sys.argv[2])
server.get_mount_points().add_factory("/camera", factory)
server.attach(None)
print(server.get_bound_port(), flush=True)
GLib.MainLoop().run()
