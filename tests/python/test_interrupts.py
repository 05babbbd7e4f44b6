"""Long computations give way to other threads, tell how far they are, and stop."""

import multiprocessing
import os
import signal
import threading
import unittest

import numpy
import vynlite
from support import folder, point, speckle


def displacement_of(values):
    picture = vynlite.Image(values)
    return vynlite.correlate(picture, picture).displacement.values.tobytes()


def interrupt():
    os.kill(os.getpid(), signal.SIGINT)


class Interrupts(unittest.TestCase):
    def setUp(self):
        self.off, self.on = vynlite.Image(speckle()), vynlite.Image(numpy.roll(speckle(), 2, axis=1))

    def test_ctrl_c_stops_a_computation(self):
        timer = threading.Timer(0.1, interrupt)
        with self.assertRaises(KeyboardInterrupt):
            timer.start()
            vynlite.correlate(self.off, self.on, iterations=100)
        timer.join()
        small = vynlite.Image(speckle()[:300, :300])
        self.assertEqual(vynlite.correlate(small, small).mapping([[150, 150]]).shape, (1, 2))

    def test_a_callback_is_told_and_stops_a_computation(self):
        told = []

        def stop(status, fraction):
            told.append(fraction)
            if fraction > 0.1:
                raise RuntimeError("enough")

        with self.assertRaisesRegex(RuntimeError, "enough"):
            vynlite.correlate(self.off, self.on, iterations=100, progress=stop)
        self.assertGreater(told[-1], 0.1)
        self.assertTrue(all(0 <= fraction < 1 for fraction in told))

    def test_a_run_tells_its_steps(self):
        told = []
        session = vynlite.run(point() / "project.xml", progress=lambda status, fraction: told.append(status))
        self.assertTrue(told and all(isinstance(status, str) for status in told))
        self.assertEqual(session.report["outcome"], "done")

    def test_an_interrupted_file_stays_as_it_was(self):
        place = folder() / "interrupted"
        place.mkdir()
        file = place / "large.fit"
        vynlite.write(vynlite.Image(numpy.ones((4, 4))), file)
        before = file.read_bytes()
        large = vynlite.Image(numpy.tile(speckle(), (5, 5)))

        def stop(status, fraction):
            raise KeyboardInterrupt

        with self.assertRaises(KeyboardInterrupt):
            vynlite.write(large, file, progress=stop)
        self.assertEqual(file.read_bytes(), before)
        self.assertEqual(os.listdir(place), [file.name])

    def test_processes_that_are_copies_compute_too(self):
        small = vynlite.Image(speckle()[:300, :300])
        expected = vynlite.correlate(small, small).displacement.values.tobytes()
        with multiprocessing.get_context("fork").Pool(2) as pool:
            for result in pool.imap_unordered(displacement_of, [small.values] * 4):
                self.assertEqual(result, expected)
        self.assertEqual(displacement_of(small.values), expected)

    def test_other_threads_run_meanwhile_and_one_session_does_one_thing(self):
        session = vynlite.Session.open(point() / "project.xml", {"project/processing/align/qped_enable": 1})
        inside, leave = threading.Event(), threading.Event()

        def wait(status, fraction):
            inside.set()
            leave.wait()

        for name in ("wind_off_sens", "wind_on_sens"):
            picture = vynlite.Image(speckle() * 1e4, markers=session[name].markers)
            session[name] = picture
        for name in ("flat_sens", "wind_off_dark_sens", "wind_on_dark_sens"):
            del session[name]
        work = threading.Thread(target=lambda: session.calculate("ratio", allow_unaligned=True, progress=wait))
        work.start()
        self.assertTrue(inside.wait(60))
        try:
            with self.assertRaisesRegex(vynlite.StateError, "another thread"):
                session.calculate()
            with self.assertRaisesRegex(vynlite.StateError, "another thread"):
                session.set({})
            self.assertGreater(len(session), 0)
        finally:
            leave.set()
            work.join()


if __name__ == "__main__":
    unittest.main()
