<!DOCTYPE qgis>
<qgis version="3.22.0" styleCategories="Symbology|Fields|MapTips|Temporal|Rendering" labelsEnabled="0">
{style}</qgis>
