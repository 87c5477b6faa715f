"""Layers of a run's results, and how QGIS adds them to a project: in the order of mission.qgz, with their styles."""

import os
import xml.etree.ElementTree
import zipfile
from collections import namedtuple

from osgeo import ogr
from qgis.core import QgsProcessingContext, QgsProcessingLayerPostProcessorInterface, QgsProcessingUtils
from qgis.PyQt import sip

_FOLDER = "kvmission/folder"  # property of a group: the folder of its results

Layer = namedtuple("Layer", "source name title is_shown", defaults=(True,))


def layers(folder, summary):
    """The layers that a run wrote, those that lie on top first: of the GeoPackage, else the Shapefile sets."""
    if "gpkg" in summary["outputs"]:
        return _layers_of_geopackage(folder)
    return [Layer(layer["file"], layer["name"], layer["name"]) for layer in summary["layers"] if layer["file"]]


def _layers_of_geopackage(folder):
    file = os.path.join(folder, "mission.gpkg")
    project = os.path.join(folder, "mission.qgz")
    if os.path.exists(project):
        rows = [(node.get("id")[len("mission_") :], node.get("name"), node.get("checked")) for node in _nodes(project)]
    else:
        package = ogr.Open(file)
        names = [package.GetLayer(i).GetName() for i in range(package.GetLayerCount())]
        rows = [(name, name, "Qt::Checked") for name in names if name != "layer_styles"]
    return [Layer(f"{file}|layername={name}", name, title, shown == "Qt::Checked") for name, title, shown in rows]


def _nodes(project):
    with zipfile.ZipFile(project) as archive:
        return list(xml.etree.ElementTree.fromstring(archive.read("mission.qgs")).iter("layer-tree-layer"))


def load(made, context):
    """Has QGIS add layers to the project, if there is one, when the algorithm has ended."""
    if context.project() is None:
        return
    for layer in made:
        details = QgsProcessingContext.LayerDetails(
            layer.title, context.project(), "", QgsProcessingUtils.LayerHint.Vector
        )
        if layer.name:
            details.setPostProcessor(_new_placer())
        context.addLayerToLoadOnCompletion(layer.source, details)


_placers = []


def _new_placer():
    """One that lives until its context deletes it: QGIS owns it, but does not keep its Python part alive."""
    _placers[:] = [placer for placer in _placers if not sip.isdeleted(placer)] + [_Placer()]
    return _placers[-1]


class _Placer(QgsProcessingLayerPostProcessorInterface):
    """Puts a layer in its place. QGIS adds layers in the order of their sources, and may give them another style."""

    def postProcessLayer(self, layer, context, feedback):
        file = layer.source().partition("|")[0]
        folder = os.path.dirname(file)
        layer.dataProvider().reloadData()  # it may be a layer of an earlier run, whose file was replaced
        layer.loadDefaultStyle()
        root = context.project().layerTreeRoot()
        node = root.findLayer(layer.id())
        if node is None or node.parent().customProperty(_FOLDER) == folder:
            return
        made = _layers_of_geopackage(folder) if file.endswith(".gpkg") else []
        ranks = {one.source: rank for rank, one in enumerate(made)}
        rank = ranks.get(layer.source(), 0)
        group = _group_for(folder, root)
        above = [other for other in group.findLayers() if ranks.get(other.layer().source(), 0) <= rank]
        copy = node.clone()
        copy.setItemVisibilityChecked(made[rank].is_shown if made else True)
        copy.setExpanded(False)
        group.insertChildNode(len(above), copy)
        node.parent().removeChildNode(node)


def _group_for(folder, root):
    """The group of the results in a folder; a new one stands on top."""
    for group in root.findGroups():
        if group.customProperty(_FOLDER) == folder:
            return group
    group = root.insertGroup(0, os.path.basename(folder) or folder)
    group.setCustomProperty(_FOLDER, folder)
    return group
