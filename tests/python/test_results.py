"""What the module computes is what vynlite-batch computes, to the bit."""

import threading
import unittest

import numpy
import vynlite
from support import SameBits, batch, folder, model_point, point, speckle

ALIGN = "project/processing/align/"
FIELD = "project/processing/convert/field"


def corrected(channel, session):
    """A camera picture of the point as the chain corrects it, function by function."""
    picture = vynlite.read(point() / f"{channel}.tif")
    picture.markers = vynlite.Markers.read(point() / f"{channel}.mrk")
    return vynlite.correct(
        picture,
        dark_level=session.setting(f"project/processing/{channel}_sens_dark"),
        dark=vynlite.read(point() / f"{channel}_dark.tif"),
        flat=vynlite.read(point() / "flat.tif"),
        lens=vynlite.Camera.read(point() / "camera.ini").lens,
    )


class Results(unittest.TestCase, SameBits):
    def test_projects_compute_as_the_batch_program_does(self):
        for settings in (
            {},
            {FIELD: "Cp", ALIGN + "resample_once": True, ALIGN + "spline_edges": "extended"},
            {FIELD: "P_Pstat", ALIGN + "qped_enable": 1, ALIGN + "filter_enable": 1, ALIGN + "filter_type": 4},
        ):
            with self.subTest(settings):
                chosen = [f"--set={path}={int(v) if v is True else v}" for path, v in settings.items()]
                saved = folder() / "batch.imp"
                batch("run", point() / "project.xml", *chosen, f"--save=field_P={saved}", "--force")
                session = vynlite.run(point() / "project.xml", settings)
                self.assert_same_bits(session["field_P"], vynlite.read(saved))
                session.save_image("field_P", folder() / "python.imp")
                self.assertEqual((folder() / "python.imp").read_bytes(), saved.read_bytes())

    def test_functions_one_after_the_other_give_the_field(self):
        session = vynlite.run(point() / "project.xml")
        off, on = corrected("wind_off", session), corrected("wind_on", session)
        self.assert_same_bits(off, session["wind_off_sens_cor"])
        pairs = vynlite.pair_markers(off.markers, on.markers, order=session.setting(ALIGN + "markers_order"))
        self.assertLess(pairs.rms, 0.1)
        numpy.testing.assert_allclose(
            pairs.mapping(pairs.reference) + pairs.residuals, pairs.moved, rtol=0, atol=1e-12
        )
        numpy.testing.assert_allclose(
            pairs.mapping.inverse(pairs.mapping(pairs.reference)), pairs.reference, rtol=0, atol=1e-9
        )
        aligned = vynlite.align(on, pairs.mapping, shape=off.shape)
        self.assert_same_bits(aligned, session["wind_on_sens_aligned"])
        ratio = vynlite.ratio(off, aligned)
        conditions = vynlite.Conditions(**{
            name: session.setting("project/flow/" + name)
            for name in ("static_p", "dynamic_p", "wind_off_p", "wind_off_t", "wind_on_t", "p_unit", "t_unit")
        })
        conversion = vynlite.Conversion(vynlite.Paint.read(point() / "paint.clb"), conditions)
        field = conversion.field(ratio)
        self.assert_same_bits(field, session["field_P"])
        self.assertEqual((field.quantity, field.unit, field.label), ("pressure", "Pa", "Pressure, Pa"))
        pixel = 90, 100
        self.assertAlmostEqual(
            conversion.law.pressure(conversion.wind_off_ratio * ratio.values[pixel]), field.values[pixel], delta=0.01
        )

    def test_a_law_and_its_inverse_take_arrays(self):
        law = vynlite.Paint.read(point() / "paint.clb").law(26)
        ratios = numpy.linspace(0.6, 1.4, 12).reshape(3, 4)
        numpy.testing.assert_allclose(law.ratio(law.pressure(ratios)), ratios, rtol=1e-12)
        self.assertTrue(numpy.isnan(vynlite.PaintLaw(1, 0, 1).ratio(0.5)))

    def test_markers_are_found_refined_and_calibrated_with_as_by_the_batch_program(self):
        picture = vynlite.read(point() / "wind_off.tif")
        found = vynlite.find_markers(picture, expect=30)
        batch("markers", "find", point() / "wind_off.tif", folder() / "batch.mrk", "--expect", 30)
        refined, stayed = vynlite.refine_markers(picture, found, size=12, method="dot")
        batch("markers", "refine", point() / "wind_off.tif", folder() / "batch.mrk", folder() / "refined.mrk",
              "--size", 12, "--method", "dot")
        self.assertEqual((len(refined), stayed), (30, []))
        for markers, name in ((found, "batch.mrk"), (refined, "refined.mrk")):
            markers.write(folder() / "python.mrk")
            self.assertEqual((folder() / "python.mrk").read_bytes(), (folder() / name).read_bytes())

        session = vynlite.run(point() / "project.xml")
        for model in ({"terms": 2}, {"model": "k"}):
            with self.subTest(model):
                calibration = session.calibrate(point() / "ports.mrk", side=3, unit="Pa", **model)
                options = [f"--{name}={value}" for name, value in model.items()]
                batch("calibrate", point() / "project.xml", "--ports", point() / "ports.mrk", "--area", 3, "--unit",
                      "Pa", "--out", folder() / "batch.clb", "--force", *options)
                calibration.paint.write(folder() / "python.clb")
                self.assertEqual((folder() / "python.clb").read_bytes(), (folder() / "batch.clb").read_bytes())
                self.assertEqual(len(calibration.residuals), len(calibration.numbers))
        session.accept(calibration)
        session.calculate("field")
        self.assertEqual(session.report["conversion"]["fa"], 1)

    def test_a_field_lies_on_the_mesh_as_the_batch_program_puts_it(self):
        saved = folder() / "batch.vtp"
        batch("run", model_point() / "project.xml", "--save-mesh", saved, "--force")
        session = vynlite.run(model_point() / "project.xml")
        session.save_mesh(folder() / "python.vtp")
        self.assertEqual((folder() / "python.vtp").read_bytes(), saved.read_bytes())

        camera = vynlite.Camera.read(model_point() / "camera.ini")
        markers = vynlite.read_model_markers(model_point() / "markers3d.mrk")
        dots = vynlite.Markers.read(model_point() / "wind_off.mrk")
        views, report = vynlite.resect(markers, [(camera, dots)])
        self.assertEqual(len(report["views"]), 1)
        numpy.testing.assert_allclose(views[0].rotation @ views[0].centre + views[0].shift, 0, atol=1e-9)
        seen = views[0].pixels(markers.positions)
        distances = numpy.linalg.norm(seen[:, None] - dots.positions, axis=2).min(axis=0)
        self.assertLess(distances.max(), 0.1)
        mesh = vynlite.project(vynlite.Mesh.read(model_point() / "model.vtp"), [(session["field_P"], views[0])])
        self.assertIn("P", mesh)
        self.assertEqual(mesh.vertices.shape, (len(mesh["P"]), 3))
        for name in session.mesh.keys():
            self.assertEqual(mesh[name].tobytes(), session.mesh[name].tobytes(), name)

    def test_a_shift_of_the_texture_is_measured(self):
        off = vynlite.Image(speckle()[:400, :400])
        on = vynlite.Image(numpy.roll(speckle(), 2, axis=1)[:400, :400])
        found = vynlite.correlate(off, on)
        numpy.testing.assert_allclose(found.mapping([[200, 150]]), [[202, 150]], atol=1e-3)
        u, v, step = found.displacement.displacement
        self.assertAlmostEqual(float(u[150 // step, 200 // step]), 2, delta=1e-3)
        self.assertEqual((step, v.shape), (8, u.shape))

    def test_frames_are_averaged_as_by_the_batch_program(self):
        names = [point() / f"{name}.tif" for name in ("wind_off", "wind_on", "wind_off_dark")]
        batch("average", folder() / "batch.imp", *names, "--method", "median", "--force")
        median = vynlite.average([vynlite.read(name) for name in names], method="median")
        self.assert_same_bits(median, vynlite.read(folder() / "batch.imp"))

    def test_sessions_stand_side_by_side(self):
        quantities = ["Pressure", "Cp", "P_Pstat", "Irefe_Isens"]
        alone = [vynlite.run(point() / "project.xml", {FIELD: q})["field_P"] for q in quantities]
        together = [None] * len(quantities)

        def compute(i):
            together[i] = vynlite.run(point() / "project.xml", {FIELD: quantities[i]})["field_P"]

        threads = [threading.Thread(target=compute, args=(i,)) for i in range(len(quantities))]
        for thread in threads:
            thread.start()
        for thread in threads:
            thread.join()
        for one, other in zip(alone, together):
            self.assert_same_bits(one, other)
        self.assertEqual([image.quantity for image in together], ["pressure", "cp", "p_over_static", "intensity_ratio"])


if __name__ == "__main__":
    unittest.main()
