"""rtsp_server.py LAUNCH: serves one live stream, shared by all who join, at rtsp://127.0.0.1:PORT/live; prints PORT.
LAUNCH is a pipeline in GStreamer's words whose last element is named pay0."""
import sys

import gi

gi.require_version("Gst", "1.0")
gi.require_version("GstRtspServer", "1.0")
from gi.repository import GLib, Gst, GstRtspServer

Gst.init(None)
server = GstRtspServer.RTSPServer(address="127.0.0.1", service="0")
factory = GstRtspServer.RTSPMediaFactory()
factory.set_launch(sys.argv[1])
factory.set_shared(True)
factory.set_suspend_mode(GstRtspServer.RTSPSuspendMode.NONE)
factory.set_stop_on_disconnect(False)
server.get_mount_points().add_factory("/live", factory)
server.attach(None)
print(server.get_bound_port(), flush=True)
GLib.MainLoop().run()
