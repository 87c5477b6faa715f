"""Opens what a run writes in QGIS, after it was moved: qgis_check.py KVMISSION. Exits with 77 where QGIS is missing."""
import html.parser
import json
import os
import subprocess
import sys
import tempfile

os.environ.setdefault("QT_QPA_PLATFORM", "offscreen")
try:
    from osgeo_utils.samples import validate_gpkg
    from qgis.core import (QgsApplication, QgsCoordinateTransform, QgsExpression, QgsExpressionContext,
                           QgsExpressionContextUtils, QgsFeatureRequest, QgsMapRendererSequentialJob, QgsMapSettings,
                           QgsProject, QgsRenderContext, QgsVectorLayer, QgsVectorLayerTemporalContext)
    from qgis.PyQt.QtCore import QSize, QUrl
except ImportError:
    sys.exit(77)

HOSTILE = "<script>\"'&amp;]]>\n%41 #1?[% 1 %]\U0001f600"
BLURRED = "#d55e00"


class Tip(html.parser.HTMLParser):
    """The text, tags and pictures of a map tip."""

    def __init__(self, markup):
        super().__init__()
        self.text, self.tags, self.pictures = "", set(), []
        self.feed(markup)

    def handle_starttag(self, tag, attributes):
        self.tags.add(tag)
        self.text += "\n" if tag == "br" else ""
        self.pictures += [value for name, value in attributes if name == "src"]

    def handle_data(self, data):
        self.text += data


def expect(is_true, *what):
    if not is_true:
        sys.exit("failed: " + " ".join(map(str, what)))


def expect_equal(seen, wanted, *what):
    expect(seen == wanted, *what, "is", repr(seen), "and not", repr(wanted))


def make_results(kvmission, folder):
    """A mission with hostile names and its results, moved to another folder together."""
    before, after = f"{folder}/before", f"{folder}/Карта – 1 €"
    mission = f"{before}/{HOSTILE}"
    os.mkdir(before)
    subprocess.run([kvmission, "simulate", "-q", "--minutes", "3", "--names", "exif", mission], check=True)
    for number in (5, 6):
        os.rename(f"{mission}/cam1/DSC_000{number}.jpg", f"{mission}/cam1/DSC_000{number}{HOSTILE}.jpg")
    run = subprocess.run([kvmission, "run", mission, "-o", f"{before}/out"], stdout=subprocess.DEVNULL, check=False)
    expect(run.returncode in (0, 3), "run ends with", run.returncode)
    os.rename(before, after)
    return f"{after}/out"


def tip_of(layer, feature):
    context = QgsExpressionContext(QgsExpressionContextUtils.globalProjectLayerScopes(layer))
    context.setFeature(feature)
    return Tip(QgsExpression.replaceExpressionText(layer.mapTipTemplate(), context))


def check_tips(layer):
    expect(any(HOSTILE in feature["photo"] for feature in layer.getFeatures()), "no photo has a hostile name")
    for feature in layer.getFeatures():
        tip, name = tip_of(layer, feature), feature["photo"]
        expect(tip.tags <= {"br", "img"}, "tags in a map tip:", tip.tags)
        expect(tip.text.startswith(name + "\n"), "map tip of", repr(name), "begins", repr(tip.text))
        (picture,) = tip.pictures
        file = QUrl(picture).toLocalFile()
        expect(os.path.isfile(file) and os.path.basename(file) == name, "picture in a map tip:", repr(file))


def check_times(layer, span):
    """The span of the project has all features, though not the whole housekeeping log; a part of it has some."""
    times = layer.temporalProperties()
    expect(times.isActive(), layer.name(), "has no times")
    context = QgsVectorLayerTemporalContext()
    context.setLayer(layer)
    count = lambda span: len(list(layer.getFeatures(
        QgsFeatureRequest().setFilterExpression(times.createFilterString(context, span)))))
    whole, part = count(span), count(type(span)(span.begin(), span.begin().addSecs(70)))
    if layer.name() not in ("Housekeeping log", "log_points.shp"):
        expect_equal(whole, layer.featureCount(), layer.name(), "in the time of the project: number of features")
    if whole > 20:
        expect(0 < part < whole, layer.name(), "shows", part, "features in a part of the time")


def opened(source, name):
    """A layer with its default style, as the program adds it to a map."""
    layer = QgsVectorLayer(source, name, "ogr", QgsVectorLayer.LayerOptions(loadDefaultStyle=False))
    layer.loadDefaultStyle()
    return layer


def labels_of(layer):
    """The line of the legend that each feature has."""
    context = QgsRenderContext()
    context.setExpressionContext(QgsExpressionContext(QgsExpressionContextUtils.globalProjectLayerScopes(layer)))
    renderer = layer.renderer().clone()
    labels = {item.ruleKey(): item.label() for item in renderer.legendSymbolItems()}
    renderer.startRender(context, layer.fields())
    seen = []
    for feature in layer.getFeatures():
        context.expressionContext().setFeature(feature)
        keys = renderer.legendKeysForFeature(feature, context)
        leaves = [labels[key] for key in keys if not labels.get(key, "Camera").startswith("Camera")]
        expect(len(leaves) == 1, layer.name(), "has the rules", leaves, "for a feature")
        seen += leaves
    renderer.stopRender(context)
    return seen


def check_picture(layers, photos, blurred, project):
    """Each blurred photo has its colour; the others have it only where a blurred one lies over them."""
    settings = QgsMapSettings()
    settings.setLayers(layers)
    settings.setDestinationCrs(project.crs())
    settings.setOutputSize(QSize(3000, 3000))
    transform = QgsCoordinateTransform(photos.crs(), project.crs(), project)
    settings.setExtent(transform.transformBoundingBox(photos.extent()).buffered(10))
    settings.setTransformContext(project.transformContext())
    job = QgsMapRendererSequentialJob(settings)
    job.start()
    job.waitForFinished()
    expect(not job.errors(), [error.message for error in job.errors()])
    picture = job.renderedImage()
    pixels = [settings.mapToPixel().transform(transform.transform(feature.geometry().asPoint()))
              for feature in photos.getFeatures()]
    near = lambda a, b: abs(a.x() - b.x()) < 15 and abs(a.y() - b.y()) < 15
    marked = [pixel for pixel, is_blurred in zip(pixels, blurred) if is_blurred]
    for pixel, is_blurred in zip(pixels, blurred):
        has_colour = picture.pixelColor(round(pixel.x()), round(pixel.y())).name() == BLURRED
        expect(has_colour or not is_blurred, "a blurred photo lacks its colour")
        expect(not has_colour or any(near(pixel, other) for other in marked), "a sharp photo looks blurred")


def check(out):
    project = QgsProject.instance()
    expect(project.read(f"{out}/mission.qgz"), "mission.qgz cannot be read:", project.error())
    expect_equal(project.title(), HOSTILE, "the title")
    expect_equal(project.crs().authid(), "EPSG:32632", "the system of the map")
    summary = json.load(open(f"{out}/summary.json", encoding="utf-8"))
    number_blurred = sum(len(camera["sharpness"]["blurred"]) for camera in summary["cameras"])
    layers = {layer.id()[len("mission_"):]: layer for layer in project.mapLayers().values()}
    expect({"photos", "dropped", "stations", "trajectory", "fixes", "gaps", "housekeeping", "findings"} <= set(layers),
           "layers:", list(layers))
    span = project.timeSettings().temporalRange()
    for name, layer in layers.items():
        expect(layer.isValid(), name, "is not valid")
        expect_equal(layer.source(), f"{out}/mission.gpkg|layername={name}", name)
        if layer.isSpatial():
            expect(layer.crs().isValid(), name, "has no coordinate system")
            check_times(layer, span)
            labels_of(layer)
            alone = opened(layer.source(), name)
            expect_equal(alone.mapTipTemplate(), layer.mapTipTemplate(), "the default style of", name)
            expect(alone.temporalProperties().isActive(), name, "has no times by default")
            bare = [field.name() for i, field in enumerate(layer.fields())
                    if field.name() != "fid" and alone.attributeDisplayName(i) == field.name()]
            expect_equal(bare, [], "fields without an alias in " + name)
    check_tips(layers["photos"])
    for name in sorted(file[:-4] for file in os.listdir(out) if file.endswith(".shp")):
        layers[name + ".shp"] = layer = opened(f"{out}/{name}.shp", name + ".shp")
        expect(layer.mapTipTemplate(), name, "has no style")
        check_times(layer, span)
        labels_of(layer)
    shown = [layer for layer in project.layerTreeRoot().layerOrder() if layer.isSpatial()]
    for photos, drawn in ((layers["photos"], shown), (layers["photos.shp"], [layers["photos.shp"]])):
        labels = labels_of(photos)
        expect("sharpness unknown" not in labels, "a photo was graded and looks as if not in", photos.name())
        blurred = [label == "blurred" for label in labels]
        expect_equal(sum(blurred), number_blurred, "the number of blurred photos in", photos.name())
        check_picture(drawn, photos, blurred, project)


application = QgsApplication([], True)
application.initQgis()
with tempfile.TemporaryDirectory() as scratch:
    results = make_results(sys.argv[1], scratch)
    validate_gpkg.GPKGChecker(f"{results}/mission.gpkg").check()
    check(results)
    QgsProject.instance().clear()
# At the interpreter's end QGIS's objects go in any order, and now and then one needs another that has gone. By now all
# is checked: the process ends here, without that.
sys.stdout.flush()
os._exit(0)
