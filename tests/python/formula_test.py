"""Expressions and programs: numbers, names, what is refused, and eight threads at once."""
import pickle
import threading
import warnings

import numpy as np
import pytest

import zel
from samples import container, five_channels, navigated
from scenes import Channel, Scene, ramp

F = np.float32


def test_arithmetic_is_that_of_floats():
    rng = np.random.default_rng(1)
    a, b = rng.random((2, 1000), F)
    found = zel.Expression("(b - a) / (b + a) * 2 + a", ["a", "b"])(a=a, b=b)
    assert found.dtype == np.float32
    assert found.tobytes() == ((b - a) / (b + a) * F(2) + a).tobytes()


def test_arrays_have_any_shape_and_size():
    twice = zel.Expression("Ch1 * 2 + Ch3")
    assert twice({1: 3.0, "#2": 4.0}).shape == ()
    assert twice({1: 3.0, "Ch3": 4.0}) == 10.0
    assert twice({1: [[1.0], [2.0]], 3: [10, 20, 30]}).tolist() == [[12, 22, 32], [14, 24, 34]]
    assert twice({1: np.zeros((0, 5)), 3: 0}).shape == (0, 5)
    many = np.arange(200003, dtype=np.int32)
    assert np.array_equal(twice({1: many, 3: 0.5}), many.astype(F) * 2 + F(0.5))
    strided = np.arange(60, dtype=F).reshape(6, 10)[::2, ::-3]
    assert np.array_equal(twice({1: strided, 3: strided}), strided * 3)


def test_a_constant_is_a_value():
    assert zel.Expression("2.5e-1 + 1")() == 1.25


def test_variables_have_their_names():
    expression = zel.Expression("sqrt(lat) + julian_day + SZ", [])
    assert expression.variables == ("sz", "lat", "julian_day")
    assert expression(lat=[4.0, 9.0], julian_day=100, sz=0.5).tolist() == [102.5, 103.5]
    assert expression(lat=[4.0]).tolist() == [2.0]


def test_definitions_are_expressions_with_names():
    ndvi = zel.Expression("vegetation > 0.5", ["red", "nir"],
                          definitions={"sum": "red + nir", "vegetation": "(nir - red) / sum"})
    assert ndvi(red=[1.0, 1.0], nir=[2.0, 4.0]).tolist() == [0.0, 1.0]
    assert ndvi.channels == ("red", "nir")


def test_a_scene_gives_channels_and_variables(keep):
    scene = zel.open(keep(navigated(year=2024, day=60).bytes()))
    expression = zel.Expression("one * 100 + lat + julian_day", scene)
    assert expression.channels == ("one",)
    wanted = scene.channels["one"].values * F(100) + scene.positions().latitude + F(60)
    assert np.array_equal(expression.evaluate(), wanted)
    assert np.array_equal(expression.evaluate(slice(1, None)), wanted[1:])
    assert np.array_equal(expression.evaluate(-1), wanted[2:])
    angles = scene.angles()
    assert np.array_equal(zel.Expression("sz - vz", scene).evaluate(),
                          angles.solar_zenith - angles.view_zenith)
    assert zel.Expression("7", scene).evaluate().tolist() == [[7.0] * 5] * 3
    assert zel.Expression("sg", scene).evaluate().shape == (3, 5)


def test_the_numbers_of_channels_are_those_of_slots(keep):
    scene = zel.open(keep(Scene(five_channels()).bytes()))
    for text in ("Ch4 + 0", "#3 + 0", "byte + 0"):
        assert zel.Expression(text, scene).evaluate().tolist() == five_channels()[3].pixels
    assert zel.Expression('"scaled byte" + 0', scene).channels == ("scaled byte",)


def test_a_container_is_evaluated_on_the_grid_of_its_base(keep):
    scene = zel.open(keep(container(1)))
    found = zel.Expression("coarse + fine", scene).evaluate()
    coarse, fine = scene.view().read(["coarse", "fine"])
    assert np.array_equal(found, coarse + fine)


def test_what_is_no_expression_is_refused(keep):
    scene = zel.open(keep(Scene(five_channels()).bytes()))
    for text, reason in [
            ("1 +", "syntax"), ("(1", "parenthesis"), ("nothing + 1", "no channel 'nothing'"),
            ("Ch1 = 3", "assigns or skips"), ("register1 = 2", "assigns or skips"),
            ("skip_pixel", "assigns or skips"), ("register21 + 1", "registers|illegal"),
            ("Ch0 + 1", "channel|illegal"), ("1" * 300, "syntax|illegal")]:
        with pytest.raises(zel.ExpressionError, match="(?i)" + reason):
            zel.Expression(text, scene)
    with pytest.raises(ValueError, match="definition"):
        zel.Expression("1", definitions={"no name": "2"})


def test_missing_arrays_and_unknown_names_are_errors():
    expression = zel.Expression("a + b", ["a", "b"])
    with pytest.raises(zel.ChannelError, match="no array for b"):
        expression(a=1)
    with pytest.raises(KeyError, match="'c' is no channel"):
        expression(a=1, b=2, c=3)
    with pytest.raises(ValueError):
        expression(a=[1, 2], b=[1, 2, 3])
    with pytest.raises(ValueError, match="no scene"):
        expression.evaluate()


def test_readings_that_surprise_are_warned_of():
    with pytest.warns(UserWarning, match="is read as .*, not .*parentheses"):
        assert zel.Expression("9 - 4 - 2")() == 7
    with warnings.catch_warnings():
        warnings.simplefilter("error")
        assert zel.Expression("(9 - 4) - 2")() == 3
    with pytest.warns(UserWarning, match="^line 2: a value other than 0 goes on"):
        zel.Program("if (a > 1) then\nclass = 2\nelse\nclass = 1\nendif\n", ["a"])


def test_too_many_values_at_once_are_an_error_and_not_the_end():
    """Sums from the right keep 25 values waiting for each of 9 definitions; 200 may wait."""
    definitions = {"d0": "a"}
    for k in range(1, 10):
        definitions["d%d" % k] = "(a+" * 25 + "d%d" % (k - 1) + ")" * 25
    assert zel.Expression("d7", ["a"], definitions=definitions)(a=1) == 176
    expression = zel.Expression("d9", ["a"], definitions=definitions)
    with pytest.raises(zel.ExpressionError, match="stack processing error 2"):
        expression(a=np.ones(10))
    assert zel.Expression("a + 1", ["a"])(a=1) == 2


def test_a_program_gives_what_it_wrote():
    program = zel.Program("""
        # a comment
        register1 = red * 2
        if (register1 > 1 && blue < 5) class = 3
        else class = 1
        both = red + blue
        blue = blue * 10
        return
    """, ["red", "blue"])
    assert program.outputs == ("both",)
    blue = np.array([1.0, 9.0, 1.0], F)
    result = program(red=[1.0, 1.0, 0.25], blue=blue)
    assert {name: values.tolist() for name, values in result.items()} == {
        "class": [3, 1, 1], "both": [2, 10, 1.25], "blue": [10, 90, 10]}
    assert result.skipped.tolist() == [False] * 3
    assert blue.tolist() == [1.0, 9.0, 1.0]


def test_skipped_pixels_are_not_numbers_in_new_channels():
    program = zel.Program("new = a\nif (a > 2) skip_pixel\nlate = 1\nreturn", ["a"])
    result = program(a=[[1.0, 3.0]])
    assert result.skipped.tolist() == [[False, True]]
    assert np.isnan(result["new"]).tolist() == [[False, True]]
    assert np.isnan(result["late"]).tolist() == [[False, True]]


def test_a_program_runs_over_a_scene(keep):
    scene = zel.open(keep(Scene(five_channels()).bytes()))
    result = zel.Program("half = byte / 2\nreturn", scene).evaluate(slice(0, 2))
    rows = five_channels()[3].pixels[:2]
    assert result["half"].tolist() == [[x / 2 for x in row] for row in rows]


def test_what_is_no_program_is_refused():
    for text, reason in [("", "no program"), ("# nothing\n", "no program"),
                         ("if (a > 3) then\n class = 1\n", ""), ("x = (1\n", ""),
                         ("class = nothing", "nothing")]:
        with pytest.raises(zel.ExpressionError, match=reason):
            zel.Program(text, ["a"])


def test_formulas_are_pickled(keep):
    scene = zel.open(keep(Scene(five_channels()).bytes()))
    expression = zel.Expression("byte * twice", scene, definitions={"twice": "2"})
    again = pickle.loads(pickle.dumps(expression))
    assert np.array_equal(again.evaluate(), expression.evaluate())
    program = pickle.loads(pickle.dumps(zel.Program("x = a + 1\nreturn", ["a"])))
    assert program(a=1)["x"] == 2


FORMULAS = [("a * lat + sz", lambda a, b, v: a * v + v),
            ("sqrt(a) + b - lat", lambda a, b, v: np.sqrt(a) + b - v),
            ("(a > b) * year", lambda a, b, v: (a > b).astype(F) * v),
            ("(a + b) * (julian_day + class)", lambda a, b, v: (a + b) * (v + v))]


@pytest.mark.filterwarnings("ignore")
def test_eight_threads_evaluate_at_once():
    """Each has variables of its own: a record that they shared would mix these up."""
    compiled = [zel.Expression(text, ["a", "b"]) for text, _ in FORMULAS]
    program = zel.Program("register3 = a * lat\nif (b > 0.5) class = register3\nout = class + b\n"
                          "return", ["a", "b"])
    wrong = []
    start = threading.Barrier(8)

    def work(n):
        rng = np.random.default_rng(n)
        a, b = rng.random((2, 30000), F)
        v = F(n + 1)
        start.wait()
        for turn in range(40):
            k = (n + turn) % len(FORMULAS)
            expression = compiled[k] if turn % 3 else zel.Expression(FORMULAS[k][0], ["a", "b"])
            names = {name: v for name in expression.variables}
            names.update({name: row for name, row in (("a", a), ("b", b))})
            if expression(names).tobytes() != FORMULAS[k][1](a, b, v).tobytes():
                wrong.append((n, k))
            if turn % 7 == 0:
                kind = np.where(b > F(0.5), a * v, F(0))
                if program(a=a, b=b, lat=v)["out"].tobytes() != (kind + b).tobytes():
                    wrong.append((n, "program"))
    threads = [threading.Thread(target=work, args=(n,)) for n in range(8)]
    for thread in threads:
        thread.start()
    for thread in threads:
        thread.join()
    assert wrong == []


def test_the_interpreter_is_free_while_an_expression_runs():
    """A thread that only counts goes on counting."""
    expression = zel.Expression("exp(log(sqrt(a) + 1)) + sin(a) * cos(a)", ["a"])
    a = np.ones(3000000, F)
    done = threading.Event()
    counted = 0

    def evaluate():
        expression(a=a)
        done.set()
    thread = threading.Thread(target=evaluate)
    thread.start()
    while not done.is_set():
        counted += 1
    thread.join()
    assert counted > 1000


def test_real_scenes(real):
    scene = zel.open(real("landsat8_gulf_30m.zel"))
    ndvi = zel.Expression("(B5-B4)/(B5+B4)", scene).evaluate()
    red, infrared = scene.channels["B4"].values, scene.channels["B5"].values
    with np.errstate(all="ignore"):
        assert ndvi.tobytes() == ((infrared - red) / (infrared + red)).tobytes()


def test_a_channel_of_the_ground_needs_its_grid(keep):
    scene = zel.open(keep(Scene({0: Channel(3, ramp(1, 2))}, lats=[[1.0, 2.0]],
                                lons=[[1.0, 2.0]]).bytes()))
    try:
        found = zel.Expression("percent_water", scene).evaluate()
    except zel.ZelError as error:
        assert "percent_water needs an ancillary grid" in str(error)
    else:
        assert ((found >= 0) & (found <= 255)).all()


@pytest.mark.parametrize("make", [lambda: zel.Expression("1\0 + 2"),
                                  lambda: zel.Program("class\0 = 1"),
                                  lambda: zel.Expression("a", definitions={"a": "1\0"}),
                                  lambda: zel.Expression("a", definitions={"a\0": "1"})])
def test_a_text_with_a_zero_character_is_an_error(make):
    with pytest.raises(zel.ExpressionError, match="zero character"):
        make()
