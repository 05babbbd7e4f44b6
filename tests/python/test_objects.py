"""Images, markers and sessions as objects of Python: who owns what, and what is refused."""

import gc
import os
import unittest

import numpy
import vynlite
from support import SameBits, folder, model_point, point


class Planes(unittest.TestCase, SameBits):
    def test_arrays_are_views_that_outlive_their_image(self):
        image = vynlite.read(point() / "wind_off.tif")
        values, mask = image.values, image.mask
        self.assertTrue(numpy.shares_memory(values, image.values))
        self.assertEqual((values.dtype, mask.dtype, values.shape), ("f4", "u1", image.shape))
        before = values.copy()
        image.values = values + 1
        numpy.testing.assert_array_equal(values, before)
        self.assertFalse(numpy.shares_memory(values, image.values))
        del image
        gc.collect()
        others = [vynlite.Image(numpy.zeros(before.shape)) for _ in range(8)]
        numpy.testing.assert_array_equal(values[10:20], before[10:20])
        self.assertEqual(len(others), 8)

    def test_images_of_a_session_are_shared_and_outlive_it(self):
        session = vynlite.run(point() / "project.xml")
        first, again = session["field_P"].values, session["field_P"].values
        self.assertTrue(numpy.shares_memory(first, again))
        before = first.copy()
        mesh = vynlite.run(model_point() / "project.xml").mesh
        pressures = mesh["P"]
        known = pressures.copy()
        del session, again, mesh
        gc.collect()
        numpy.testing.assert_array_equal(first, before)
        numpy.testing.assert_array_equal(pressures, known)

    def test_nobody_writes_into_what_others_see(self):
        image = vynlite.Image(numpy.ones((3, 4)))
        for plane in (image.values, image.mask):
            with self.assertRaises(ValueError):
                plane[0, 0] = 5
            with self.assertRaises(ValueError):
                plane.setflags(write=True)

    def test_what_is_assigned_is_copied_and_checked(self):
        array = numpy.arange(12.0).reshape(3, 4)
        array[1, 2] = numpy.nan
        image = vynlite.Image(array[:, ::-1], mask=array == 3, quantity="pressure", unit="Pa")
        array[:] = 0
        self.assertEqual((image.values[0, 0], image.values[2, 3]), (3, 8))
        numpy.testing.assert_array_equal(numpy.argwhere(image.mask), [[0, 3], [1, 1]])
        image.mask = numpy.zeros((3, 4), bool)
        numpy.testing.assert_array_equal(numpy.argwhere(image.mask), [[1, 1]])
        with self.assertRaises(vynlite.SizeError):
            image.mask = numpy.zeros((4, 3), bool)
        for wrong, error in ((numpy.zeros((3, 4), complex), TypeError), ([["a"]], TypeError), (5, ValueError),
                             (numpy.zeros(4), ValueError)):
            with self.assertRaises(error):
                vynlite.Image(wrong)
        with self.assertRaises(TypeError):
            vynlite.Image(array, mask=array)
        with self.assertRaisesRegex(ValueError, "there is no quantity 'pressur'"):
            image.quantity = "pressur"

    def test_images_survive_their_files(self):
        image = vynlite.Image(numpy.linspace(0, 1, 12).reshape(3, 4), name="ramp", quantity="cp")
        image.markers = vynlite.Markers([vynlite.Marker(1, 2, id=7)])
        vynlite.write(image, folder() / "ramp.imp")
        again = vynlite.read(folder() / "ramp.imp")
        self.assert_same_bits(image, again)
        self.assertEqual((again.name, again.quantity, again.markers[0].id), ("ramp", "cp", 7))

    def test_sessions_survive_their_containers(self):
        session = vynlite.run(point() / "project.xml")
        session.save(folder() / "whole.ims")
        again = vynlite.Session.open(folder() / "whole.ims")
        self.assertEqual(again.keys(), session.keys())
        self.assert_same_bits(again["field_P"], session["field_P"])

    def test_notebooks_show_a_picture(self):
        image = vynlite.read(point() / "wind_off.tif")
        png = image._repr_png_()
        self.assertEqual(png[:8], b"\x89PNG\r\n\x1a\n")
        self.assertNotEqual(png, vynlite.render(image, palette="grey", colour_bar=False))
        vynlite.render(image, folder() / "picture.svg", title="A title")
        self.assertIn("<svg", (folder() / "picture.svg").read_text())
        with self.assertRaisesRegex(ValueError, "there is no palette 'jet', but .*viridis"):
            vynlite.render(image, palette="jet")


class MarkersOfPython(unittest.TestCase):
    def test_they_are_a_sequence(self):
        markers = vynlite.Markers.from_positions([[1, 2], [3, 4.5]])
        markers.append(vynlite.Marker(5, 6, f=9e4, active=False, id=10))
        self.assertEqual(markers.ids, [1, 2, 10])
        self.assertEqual(markers[-1].f, 9e4)
        self.assertEqual([marker.x for marker in markers], [1, 3, 5])
        numpy.testing.assert_array_equal(markers.positions, [[1, 2], [3, 4.5], [5, 6]])
        markers[0] = vynlite.Marker(7, 8, id=1)
        del markers[1]
        with self.assertRaises(IndexError):
            markers[2]
        with self.assertRaises(AttributeError):
            markers[0].x = 3
        markers.write(folder() / "some.mrk")
        again = vynlite.Markers.read(folder() / "some.mrk")
        self.assertEqual(again, markers)
        self.assertFalse(again[1].active)


class Errors(unittest.TestCase):
    def test_they_carry_the_program_s_texts(self):
        missing = folder() / "missing.tif"
        with self.assertRaises(vynlite.FileError) as raised:
            vynlite.read(missing)
        self.assertIsInstance(raised.exception, vynlite.Error)
        self.assertEqual(raised.exception.text, "Can't open file for reading!")
        self.assertEqual(raised.exception.detail, f"{missing}: no such file")
        self.assertEqual(str(raised.exception), f"Can't open file for reading!: {missing}: no such file")

    def test_names_that_are_no_text_come_back_as_they_are(self):
        name = os.fsencode(folder()) + b"/\xff.tif"
        with self.assertRaises(vynlite.FileError) as raised:
            vynlite.read(os.fsdecode(name))
        self.assertIn(name, os.fsencode(raised.exception.detail))

    def test_wrong_use_is_refused(self):
        image, large = vynlite.Image(numpy.ones((3, 4))), vynlite.Image(numpy.ones((4, 4)))
        project = point() / "project.xml"
        for error, text, call in (
            (vynlite.SizeError, "", lambda: vynlite.ratio(image, large)),
            (vynlite.AlgoError, "", lambda: vynlite.filter(image, type=9)),
            (vynlite.AlgoError, "", lambda: vynlite.find_markers(image, min_size=0)),
            (vynlite.AlgoError, "Pairing failed!", lambda: vynlite.pair_markers(vynlite.Markers(), vynlite.Markers())),
            (vynlite.FileError, "", lambda: vynlite.write(image, folder() / "nowhere" / "a.tif")),
            (vynlite.AlgoError, "project/flow/p_unitt", lambda: vynlite.run(project, {"project/flow/p_unitt": "Pa"})),
            (vynlite.AlgoError, "wind_on_t", lambda: vynlite.run(project, {"project/flow/wind_on_t": "warm"})),
            (vynlite.StateError, "wind_off_sens_file", lambda: vynlite.Session().calculate()),
            (ValueError, "polarity is one of 'dark', 'bright'", lambda: vynlite.find_markers(image, polarity="grey")),
            (TypeError, "", lambda: vynlite.read(5)),
            (TypeError, "", lambda: vynlite.ratio(image, image.values)),
            (KeyError, "field_P", lambda: vynlite.Session()["field_P"]),
            (KeyError, "no/such", lambda: vynlite.Session().setting("no/such")),
        ):
            with self.subTest(text), self.assertRaisesRegex(error, text):
                call()

    def test_settings_change_all_or_none(self):
        session = vynlite.Session({"project/flow/p_unit": "psi"})
        with self.assertRaises(vynlite.AlgoError):
            session.set({"project/flow/p_unit": "bar", "project/flow/alpha": "steep"})
        self.assertEqual(session.setting("project/flow/p_unit"), "psi")
        session.set({"project/flow/alpha": numpy.float64(2.5), "project/head/dir": folder()})
        self.assertEqual(session.setting("project/flow/alpha"), 2.5)
        self.assertEqual(session.settings()["project/head/dir"], str(folder()))

    def test_pictures_that_cannot_be_aligned_are_an_error_unless_allowed(self):
        session = vynlite.Session.open(point() / "project.xml")
        off = session["wind_off_sens"]
        off.markers = vynlite.Markers.from_positions(numpy.random.default_rng(1).uniform(0, 180, (30, 2)))
        session["wind_off_sens"] = off
        with self.assertRaises(vynlite.Error):
            session.calculate()
        self.assertNotEqual(session.report["outcome"], "done")
        self.assertFalse(session.report["aligned"])


if __name__ == "__main__":
    unittest.main()
