"""Tests of the package: python3 -m unittest discover python/tests, with the package on the path."""

import json
import os
import subprocess
import sys
import tempfile
import threading
import unittest
from pathlib import Path

import velmora

SAMPLES = Path(__file__).resolve().parents[2] / "tools" / "capture" / "samples"


def grey_picture():
    """The picture of code39.pgm, 549 x 198, and its text."""
    return (SAMPLES / "code39.pgm").read_bytes()[-549 * 198 :]


def run_python(*arguments):
    return subprocess.run(
        [sys.executable, *arguments], capture_output=True, text=True, timeout=120, check=False
    )


class ReadTest(unittest.TestCase):
    def test_gives_the_codes_of_a_file(self):
        result = velmora.read(SAMPLES / "ean13.bmp")
        (code,) = result
        self.assertEqual((code.symbology, code.text), ("EAN-13", "5012345678900"))
        self.assertEqual(code.bytes, b"5012345678900")
        self.assertTrue(0 < code.corners[0].x < code.corners[2].x < result.width)
        self.assertTrue(0 < code.corners[0].y < code.corners[2].y < result.height)
        self.assertEqual(json.loads(result.json)["codes"][0]["text"], code.text)
        self.assertEqual(result.path, str(SAMPLES / "ean13.bmp"))
        self.assertGreater(result.times.total, 0)

    def test_raises_what_is_wrong_with_a_file(self):
        for name, code in (("broken.png", -10012), ("missing.png", -10005)):
            with self.subTest(name), self.assertRaises(velmora.VelmoraError) as raised:
                velmora.read(SAMPLES / name)
            self.assertEqual(raised.exception.code, code)
            self.assertIn(str(code), str(raised.exception))
            self.assertEqual(raised.exception.result.width, 0)

    def test_reads_arrays_with_any_strides(self):
        grey = grey_picture()
        rows = [grey[start : start + 549] for start in range(0, len(grey), 549)]
        colour = b"".join(bytes([value]) * 3 for value in grey)
        wide = memoryview(b"".join(row + b"\x55" * 51 for row in rows)).cast("B", (198, 600))
        twice = memoryview(b"".join(row * 2 for row in rows)).cast("B", (396, 549))
        upward = memoryview(b"".join(reversed(rows))).cast("B", (198, 549))
        dark = bytes(value > 127 for value in grey)
        cases = {
            "tight": (memoryview(grey).cast("B", (198, 549)), {}),
            "padded": (wide, {}),
            "every other row": (twice[::2], {}),
            "upwards": (upward[::-1], {}),
            "bool": (memoryview(dark).cast("?", (198, 549)), {}),
            "colour": (memoryview(colour).cast("B", (198, 549, 3)), {}),
            "colour, named": (memoryview(colour).cast("B", (198, 549, 3)), {"format": "bgr"}),
            "bytes": (grey, {"width": 549, "height": 198}),
            "bytes with stride": (bytes(wide), {"width": 549, "height": 198, "stride": 600}),
            "writable": (bytearray(colour), {"width": 549, "height": 198, "format": "rgb"}),
        }
        with velmora.Capture() as capture:
            for name, (pixels, how) in cases.items():
                with self.subTest(name):
                    self.assertEqual(capture.read(pixels, **how).codes[0].text, "VELMORA 39")

    def test_refuses_arrays_that_are_no_image(self):
        small = memoryview(bytes(12)).cast("B", (3, 4))
        for name, pixels, how, error in (
            ("no shape", b"123456", {}, ValueError),
            ("two channels", memoryview(bytes(24)).cast("B", (3, 4, 2)), {}, ValueError),
            ("floats", memoryview(bytes(48)).cast("f", (3, 4)), {}, ValueError),
            ("unknown format", small, {"format": "cmyk"}, ValueError),
            ("too short", bytes(11), {"width": 4, "height": 3}, velmora.VelmoraError),
            ("no buffer", 7, {}, TypeError),
        ):
            with self.subTest(name), self.assertRaises(error):
                velmora.read(pixels, **how)

    def test_runs_other_threads_meanwhile(self):
        # The read waits for another thread, which the interpreter never runs if its lock is held.
        with tempfile.TemporaryDirectory() as folder, velmora.Capture() as capture:
            pipe = Path(folder, "pipe")
            os.mkfifo(pipe)
            is_reading = threading.Event()

            def write():
                is_reading.wait()
                pipe.write_bytes((SAMPLES / "ean13.bmp").read_bytes())

            writer = threading.Thread(target=write)
            writer.start()
            interval = sys.getswitchinterval()
            sys.setswitchinterval(1000)  # so that only a released lock lets the writer run
            is_reading.set()
            result = capture.read(pipe)
            sys.setswitchinterval(interval)
            writer.join()
        self.assertEqual(result.codes[0].text, "5012345678900")


class CaptureTest(unittest.TestCase):
    def test_gives_the_results_of_a_source(self):
        names = ["code39.pgm", "broken.png", "ean13.bmp"] * 4
        texts = [["VELMORA 39"], [], ["5012345678900"]] * 4
        with velmora.Capture(threads=2) as capture:
            for in_order in (True, False):
                results = capture.run((SAMPLES / name for name in names), in_order=in_order)
                found = [[code.text for code in result] for result in results]
                order = list if in_order else sorted
                self.assertEqual(order(found), order(texts))
            statistics = capture.statistics()
            slow = memoryview(os.urandom(1500 * 1500)).cast("B", (1500, 1500))
            fast = memoryview(bytes(12)).cast("B", (3, 4))
            widths = [result.width for result in capture.run([slow, fast], in_order=False)]
            self.assertEqual(widths, [4, 1500])
        self.assertEqual((statistics.offered, statistics.delivered, statistics.queued), (24, 24, 0))
        self.assertGreater(sum(task.runs for task in statistics.tasks), 0)

    def test_calls_back_on_another_thread(self):
        image = memoryview(grey_picture()).cast("B", (198, 549))
        results, threads, is_done = [], set(), threading.Event()

        def take(result):
            results.append(result)
            threads.add(threading.get_ident())
            if len(results) == 1:
                with self.assertRaises(velmora.VelmoraError):
                    capture.close()
            if len(results) == 5:
                is_done.set()

        with velmora.Capture() as capture:
            for _ in range(5):
                capture.submit(image, take, wait_ms=60000)
            self.assertTrue(is_done.wait(60))
        self.assertEqual([result.codes[0].text for result in results], ["VELMORA 39"] * 5)
        self.assertEqual(len(threads - {threading.get_ident()}), 1)

    def test_says_where_a_template_is_wrong(self):
        with self.assertRaises(velmora.TemplateError) as raised:
            velmora.Capture('{"Name": "n",\n  "Definitions": 7}')
        self.assertEqual(raised.exception.faults[0].line, 2)
        with self.assertRaises(velmora.VelmoraError) as raised:
            velmora.Capture("/no/such/template.json")
        self.assertEqual(raised.exception.code, -10005)

    def test_raises_when_closed_and_after_a_fork(self):
        capture = velmora.Capture()
        child = os.fork()
        if child == 0:
            try:
                capture.read("x")
            except velmora.VelmoraError as error:
                has_texts = [code.text for code in velmora.read(SAMPLES / "ean13.bmp")]
                os._exit(0 if "fork" in str(error) and has_texts else 1)
            os._exit(2)
        self.assertEqual(os.waitpid(child, 0)[1], 0)
        capture.close()
        capture.close()
        with self.assertRaisesRegex(velmora.VelmoraError, "closed"):
            capture.read("x")

    def test_closes_at_exit_with_work_in_flight(self):
        script = (
            "import velmora\n"
            "capture = velmora.Capture()\n"
            "capture.submit(bytes(400 * 400), lambda result: None, width=400, height=400)\n"
            "capture.submit(bytes(400 * 400), lambda result: 1 / 0, width=400, height=400)\n"
            "print('end')\n"
        )
        done = run_python("-c", script)
        self.assertEqual((done.returncode, done.stdout), (0, "end\n"), done.stderr)
        self.assertIn("ZeroDivisionError", done.stderr)


class ProgramTest(unittest.TestCase):
    def test_prints_codes_and_errors(self):
        done = run_python("-m", "velmora", str(SAMPLES / "ean13.bmp"), str(SAMPLES / "broken.png"))
        self.assertEqual(done.returncode, 1)
        self.assertEqual(done.stdout, f"{SAMPLES / 'ean13.bmp'}: EAN-13 5012345678900\n")
        self.assertIn("(-10012)", done.stderr)
        done = run_python("-m", "velmora", "--json", str(SAMPLES / "ean13.bmp"))
        self.assertEqual(json.loads(done.stdout)["codes"][0]["symbology"], "EAN-13")


if __name__ == "__main__":
    unittest.main()
