"""Long computations give way to other threads, tell how far they are, and stop."""

import multiprocessing
import os
import signal
import threading
import unittest

import numpy
import vynlite
from support import folder, point, speckle


def long_session(iterations):
    """A point of large pictures that are to be aligned by their texture."""
    session = vynlite.Session.open(
        point() / "project.xml",
        {"project/processing/align/qped_enable": 1, "project/processing/align/qped_iter": iterations},
    )
    for name, columns in (("wind_off_sens", 0), ("wind_on_sens", 2)):
        picture = numpy.roll(speckle() * 1e4, columns, axis=1)
        session[name] = vynlite.Image(picture, markers=session[name].markers)
    for name in ("flat_sens", "wind_off_dark_sens", "wind_on_dark_sens"):
        del session[name]
    return session


def displacement_of(values):
    picture = vynlite.Image(values)
    return vynlite.correlate(picture, picture).displacement.values.tobytes()


class Interrupts(unittest.TestCase):
    def assert_stopped(self, session):
        self.assertEqual(session.report["outcome"], "aborted")
        self.assertNotIn("Iref", session)

    def test_ctrl_c_stops_a_computation(self):
        session = long_session(iterations=100)
        timer = threading.Timer(0.1, lambda: os.kill(os.getpid(), signal.SIGINT))
        with self.assertRaises(KeyboardInterrupt):
            timer.start()
            session.calculate()
        timer.join()
        self.assert_stopped(session)
        session.calculate("correct_wind_off")
        self.assertIn("wind_off_sens_cor", session)

    def test_what_a_callback_raises_stops_a_computation(self):
        session = long_session(iterations=100)
        told = []

        def stop(status, fraction):
            told.append((status, fraction))
            if fraction > 0.1:
                raise RuntimeError("enough")

        with self.assertRaisesRegex(RuntimeError, "enough"):
            session.calculate(progress=stop)
        self.assertTrue(all(status and 0 <= fraction <= 1 for status, fraction in told))
        self.assert_stopped(session)

    def test_an_interrupted_file_stays_as_it_was(self):
        place = folder() / "interrupted"
        place.mkdir()
        file = place / "large.csv"  # takes seconds on any disk
        vynlite.write(vynlite.Image(numpy.ones((4, 4))), file)
        before = file.read_bytes()
        large = vynlite.Image(numpy.tile(speckle(), (5, 5)))

        def stop(status, fraction):
            raise KeyboardInterrupt

        with self.assertRaises(KeyboardInterrupt):
            vynlite.write(large, file, progress=stop)
        self.assertEqual(file.read_bytes(), before)
        self.assertEqual(os.listdir(place), [file.name])

    def test_other_threads_run_meanwhile_and_one_session_does_one_thing(self):
        session = long_session(iterations=5)
        work = threading.Thread(target=lambda: session.calculate("displacement"))
        refusals = []
        work.start()
        while work.is_alive() and not refusals:
            try:
                session.set({})
            except vynlite.StateError as error:
                refusals.append(str(error))
        work.join()
        self.assertRegex(refusals[0], "another thread has this session work")
        self.assertIn("displacement", session)

    def test_processes_that_are_copies_compute_too(self):
        small = speckle()[:300, :300]
        expected = displacement_of(small)
        with multiprocessing.get_context("fork").Pool(2) as pool:
            for result in pool.imap_unordered(displacement_of, [small] * 4):
                self.assertEqual(result, expected)
        self.assertEqual(displacement_of(small), expected)


if __name__ == "__main__":
    unittest.main()
