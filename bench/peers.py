"""The programs that recordings are compared with, each doing the same work: automatic gain for two sources, mixing,
AAC at 256 kbit/s in an MP4 file."""

import shutil
import subprocess

BIT_RATE = 256000
# Quillet codes sum and difference where the channels are alike; its peers may do so everywhere, which costs less.
SAME_OPTIONS = ["-aac_coder", "fast", "-aac_is", "0", "-aac_pns", "0", "-aac_tns", "0", "-aac_ms", "1"]
SAME_OPTIONS += ["-cutoff", "18000"]
GAIN_AND_MIX = (
    "[0:a]dynaudnorm=f=500:g=15,aformat=channel_layouts=stereo[a];"
    "[1:a]dynaudnorm=f=500:g=15,aformat=channel_layouts=stereo[b];"
    "[a][b]amix=inputs=2:duration=longest:normalize=0,alimiter=limit=0.98:level=0[m]"
)
GST_SAME_OPTIONS = ["aac-coder=fast", "aac-is=false", "aac-pns=false", "aac-tns=false", "aac-ms=true", "cutoff=18000"]
GST_ELEMENTS = ["audiomixer", "audiodynamic", "avenc_aac", "mp4mux", "wavparse"]


def has_ffmpeg():
    return shutil.which("ffmpeg") is not None


def has_gstreamer():
    if not shutil.which("gst-launch-1.0") or not shutil.which("gst-inspect-1.0"):
        return False
    return all(
        subprocess.run(["gst-inspect-1.0", "--exists", element], stdin=subprocess.DEVNULL).returncode == 0
        for element in GST_ELEMENTS
    )


def ffmpeg(inputs, out, same_options, length_s=None):
    """Inputs are pairs of format (None: by content) and name."""
    command = ["ffmpeg", "-nostdin", "-v", "error", "-y"]
    for kind, name in inputs:
        command += (["-f", kind] if kind else []) + ["-i", name]
    command += ["-filter_complex", GAIN_AND_MIX, "-map", "[m]"]
    command += ["-t", str(length_s)] if length_s else []
    return command + ["-c:a", "aac", "-b:a", str(BIT_RATE)] + (SAME_OPTIONS if same_options else []) + [out]


def ffmpeg_encode(mixed, out, same_options):
    options = SAME_OPTIONS if same_options else []
    return ["ffmpeg", "-nostdin", "-v", "error", "-y", "-i", mixed, "-c:a", "aac", "-b:a", str(BIT_RATE), *options, out]


def _gst_encoder(same_options):
    return ["avenc_aac", f"bitrate={BIT_RATE}", *(GST_SAME_OPTIONS if same_options else [])]


def gstreamer(system, microphone, out, same_options):
    command = ["gst-launch-1.0", "-q", "audiomixer", "name=m", "!", "audioconvert", "!", *_gst_encoder(same_options)]
    command += ["!", "mp4mux", "!", "filesink", f"location={out}"]
    for name in (system, microphone):
        command += ["filesrc", f"location={name}", "!", "wavparse", "!", "audioconvert", "!"]
        command += ["audio/x-raw,format=F32LE,channels=2", "!", "audiodynamic", "mode=compressor"]
        command += ["characteristics=soft-knee", "ratio=0.5", "threshold=0.1", "!", "queue", "!", "m."]
    return command


def gstreamer_encode(mixed, out, same_options):
    command = ["gst-launch-1.0", "-q", "filesrc", f"location={mixed}", "!", "wavparse", "!", "audioconvert", "!"]
    return command + [*_gst_encoder(same_options), "!", "mp4mux", "!", "filesink", f"location={out}"]


def ffmpeg_faststart(recording, out):
    return ["ffmpeg", "-nostdin", "-v", "error", "-y", "-i", recording, "-c", "copy", "-movflags", "+faststart", out]
