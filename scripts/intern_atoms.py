"""Creates the X atoms a window manager would normally own.

Xvfb runs here without a window manager, so atoms such as WM_PROTOCOLS do not exist until
someone interns them; JUCE only looks them up, and a window would then fail with BadAtom.
Run once per Xvfb started with -noreset (which keeps the atoms alive between clients).
"""
import ctypes
import sys

x = ctypes.CDLL("libX11.so.6")
x.XOpenDisplay.restype = ctypes.c_void_p
x.XOpenDisplay.argtypes = [ctypes.c_char_p]
x.XInternAtom.argtypes = [ctypes.c_void_p, ctypes.c_char_p, ctypes.c_int]
x.XCloseDisplay.argtypes = [ctypes.c_void_p]

display = x.XOpenDisplay(None) or sys.exit("no display")
for name in (
    "WM_PROTOCOLS WM_TAKE_FOCUS WM_DELETE_WINDOW _NET_WM_PING WM_CHANGE_STATE WM_STATE "
    "_NET_WM_WINDOW_TYPE _NET_WM_WINDOW_TYPE_NORMAL _NET_WM_WINDOW_TYPE_COMBO _NET_WM_STATE "
    "_NET_WM_STATE_HIDDEN _NET_WM_STATE_SKIP_TASKBAR _NET_WM_STATE_ABOVE _NET_WM_STATE_FULLSCREEN "
    "_NET_FRAME_EXTENTS _NET_WORKAREA _MOTIF_WM_HINTS _NET_WM_ALLOWED_ACTIONS _NET_WM_ACTION_RESIZE "
    "_NET_WM_ACTION_FULLSCREEN _NET_WM_ACTION_MINIMIZE _NET_WM_ACTION_CLOSE"
).split():
    x.XInternAtom(display, name.encode(), 0)
x.XCloseDisplay(display)
