# SPDX-License-Identifier: GPL-2.0
# Puts the page of zemctl report together: the files in src/report/page and the charting library.
#   cmake -DPAGE=folder -DCHART=folder -DOUT=file -P report_page.cmake
file(READ "${CHART}/LICENSE" license)
file(READ "${CHART}/dist/uPlot.iife.min.js" CHART_JS)
file(READ "${CHART}/dist/uPlot.min.css" CHART_CSS)
set(CHART_JS "/*\n${license}*/\n${CHART_JS}")
file(READ "${PAGE}/page.css" PAGE_CSS)
file(READ "${PAGE}/data.js" DATA_JS)
file(READ "${PAGE}/charts.js" CHARTS_JS)
file(READ "${PAGE}/tables.js" TABLES_JS)
file(READ "${PAGE}/main.js" MAIN_JS)
set(REPORT_DATA "@REPORT_DATA@")
configure_file("${PAGE}/page.html" "${OUT}" @ONLY)
