/* SPDX-License-Identifier: GPL-2.0 */
/* The timelines and the histograms. */
'use strict';

const colours = 8;
const chartHeight = 190;
const timeSteps = [1, 2, 5, 10, 15, 30, 60, 120, 300, 600, 900, 1800, 3600, 7200, 10800, 21600, 43200, 86400];
const drawn = []; /* the charts on the page */

function style(name) {
	return getComputedStyle(document.documentElement).getPropertyValue(name).trim();
}

/* One x for all series: the times of the rows. */
function seriesOf(rows, things, valueOf) {
	const times = rows.map((row) => row.time);
	return [times, ...things.map((thing) => rows.map((row) => {
		const values = row.values.get(thing);
		return values ? valueOf(values, row) : null;
	}))];
}

function cpuLoad() {
	const rows = tables.cpu;
	const cpus = [...new Set(rows.flatMap((row) => [...row.values.keys()]))].sort((a, b) => a - b);
	return {
		names: cpus.map((cpu) => `cpu${cpu}`),
		data: seriesOf(rows, cpus, ([usage], row) => usage / 100 / row.intervals),
	};
}

function clusterLoad() {
	const rows = tables.cpu;
	const clusterOf = new Map(data.cpus.map(([cpu, cluster]) => [cpu, cluster]));
	const clusters = [...new Set(clusterOf.values())].sort((a, b) => a - b);
	const sum = (cluster, row) => {
		let total = null;
		for (const [cpu, [usage]] of row.values) {
			if (clusterOf.get(cpu) === cluster)
				total += usage / 100 / row.intervals;
		}
		return total;
	};
	const members = (cluster) => {
		const cpus = data.cpus.filter((cpu) => cpu[1] === cluster).map((cpu) => cpu[0]);
		return cpus.length > 1 ? `cpu${cpus[0]}–${cpus[cpus.length - 1]}` : `cpu${cpus[0]}`;
	};
	return {
		names: clusters.map((cluster) => `cluster ${cluster} (${members(cluster)})`),
		data: [rows.map((row) => row.time),
			...clusters.map((cluster) => rows.map((row) => sum(cluster, row)))],
	};
}

function heaviestTasks() {
	const { sums } = sumsInView('load');
	const tasks = [...sums].filter(([task]) => isTaskWanted(task))
		.sort((a, b) => b[1][0] - a[1][0]).slice(0, 6).map(([task]) => task);
	return {
		names: tasks.map(taskName),
		data: [tables.load.map((row) => row.time), ...tasks.map((task) => tables.load.map(
			(row) => (row.values.get(task) || [0])[0] / 1e4 / row.length))],
	};
}

/* Records are counted in at most 80 bins of whole seconds. */
function recordRate() {
	const width = timeSteps.find((step) => step * 80 >= seconds) || Math.ceil(seconds / 80);
	const bins = Math.floor(seconds / width) + 1;
	const counts = new Map();
	const all = new Array(bins).fill(0);
	for (const row of tables.rate) {
		const bin = Math.min(bins - 1, Math.floor(row.time / width));
		for (const [channel, [count]] of row.values) {
			if (!counts.has(channel))
				counts.set(channel, new Array(bins).fill(0));
			counts.get(channel)[bin] += count / width;
			all[bin] += count / width;
		}
	}
	const total = (channel) => data.channels[channel].records;
	const most = [...counts.keys()].sort((a, b) => total(b) - total(a)).slice(0, 5);
	return {
		names: ['all', ...most.map((channel) => data.channels[channel].name)],
		data: [all.map((_, bin) => bin * width), all, ...most.map((channel) => counts.get(channel))],
		filled: true,
		steps: true,
	};
}

function deviceRates() {
	/* The first record has no difference. */
	const rows = tables.disks.filter((row, i) => i > 0 || row.intervals > 1);
	const used = data.disks.map((_, disk) => disk).filter(
		(disk) => rows.some((row) => (row.values.get(disk) || []).some((value) => value > 0)));
	const names = [];
	const series = [];
	for (const disk of used) {
		['read', 'written'].forEach((what, column) => {
			names.push(`${data.disks[disk].split('/').pop()} ${what}`);
			series.push(rows.map((row) => (row.values.get(disk) || [0, 0])[column] / 1e6 / row.length));
		});
	}
	return { names, data: [rows.map((row) => row.time), ...series] };
}

function groupWaits() {
	const groups = data.groups.map((_, group) => group).filter((group) => data.groups[group] !== '');
	return {
		names: groups.map((group) => data.groups[group]),
		data: seriesOf(tables.groups, groups, ([waiting], row) => waiting / 1000 / row.length),
	};
}

const timelines = [
	{ id: 'cpu', title: 'CPU load', unit: '% of the big cluster’s full capacity', channel: 'cpu', make: cpuLoad, y: '%' },
	{ id: 'cluster', title: 'Load of clusters', unit: '% of full capacity, sum of the CPUs', channel: 'cpu', make: clusterLoad, y: '%' },
	{ id: 'tasks', title: 'CPU time of the heaviest processes', unit: '% of one CPU', channel: 'load', make: heaviestTasks, y: '%' },
	{ id: 'groups', title: 'Waiting for a CPU, by group', unit: 'ms per second, all tasks of a group', channel: 'cgroup', make: groupWaits, y: 'ms/s' },
	{ id: 'disks', title: 'IO of devices', unit: 'MB/s', channel: 'kio', make: deviceRates, y: 'MB/s' },
	{ id: 'rate', title: 'Records', unit: 'records/s; red lines: losses', channel: '', make: recordRate, y: '/s', losses: true },
];

/* Lines where records were lost. */
function drawLosses(chart) {
	const context = chart.ctx;
	context.save();
	context.strokeStyle = style('--bad');
	context.lineWidth = 2 * devicePixelRatio;
	for (const { t } of data.losses) {
		const x = chart.valToPos(startOfDay + t / 1000, 'x', true);
		if (x < chart.bbox.left || x > chart.bbox.left + chart.bbox.width)
			continue;
		context.beginPath();
		context.moveTo(x, chart.bbox.top);
		context.lineTo(x, chart.bbox.top + chart.bbox.height);
		context.stroke();
	}
	context.restore();
}

function axis(more) {
	const line = { stroke: style('--grid'), width: 1 };
	return {
		stroke: style('--quiet'), font: '11px system-ui, sans-serif', grid: line,
		ticks: { ...line, size: 4 }, ...more,
	};
}

/* The highest value in view. Lines from and to the points beside it are in view, too. */
function highestInView(chart) {
	const times = chart.data[0];
	const inside = (i) => i >= 0 && i < times.length &&
		times[i] >= startOfDay + view.from && times[i] <= startOfDay + view.to;
	let highest = 0;
	times.forEach((_, i) => {
		if (inside(i) || inside(i - 1) || inside(i + 1))
			chart.data.slice(1).forEach((values) => { highest = Math.max(highest, values[i] || 0); });
	});
	return highest;
}

function optionsOf(timeline, made, width) {
	const line = made.steps ? uPlot.paths.stepped({ align: 1 }) : undefined;
	return {
		width,
		height: chartHeight,
		cursor: { sync: { key: 'zem' }, drag: { x: true, y: false, setScale: false }, points: { size: 5 } },
		legend: { live: true },
		scales: {
			x: { time: false, range: () => [startOfDay + view.from, startOfDay + view.to] },
			y: { range: (chart) => [0, highestInView(chart) * 1.08 || 1] },
		},
		axes: [
			axis({ values: (chart, ticks) => ticks.map((tick) => clockText(tick - startOfDay)), incrs: timeSteps, space: 76, size: 26 }),
			axis({ size: 48, space: 32 }),
		],
		series: [
			{ label: 'time', value: (chart, value) => (value == null ? '' : clockText(value - startOfDay, 1)) },
			...made.names.map((name, i) => ({
				label: name,
				stroke: style(`--c${i % colours}`),
				dash: i >= colours ? [4, 3] : undefined,
				fill: made.filled && i === 0 ? `${style('--c0')}22` : undefined,
				width: 1.5,
				paths: line,
				spanGaps: true,
				points: { show: made.data[0].length < 60 && !made.steps, size: 4 },
				value: (chart, value) => (value == null ? '–' : `${short(value)} ${timeline.y}`),
			})),
		],
		hooks: {
			setSelect: [(chart) => {
				if (chart.select.width < 3)
					return;
				setRange(chart.posToVal(chart.select.left, 'x') - startOfDay,
					chart.posToVal(chart.select.left + chart.select.width, 'x') - startOfDay);
			}],
			draw: timeline.losses ? [drawLosses] : [],
		},
	};
}

function drawTimelines() {
	const place = document.getElementById('charts');
	while (drawn.length)
		drawn.pop().destroy();
	place.replaceChildren();
	for (const timeline of timelines) {
		const panel = element('div', { className: 'panel', id: `chart-${timeline.id}` },
			element('div', { className: 'head' }, element('h3', { textContent: timeline.title }),
				element('span', { className: 'unit', textContent: timeline.unit })));
		place.append(panel);
		const made = timeline.make();
		if (made.names.length === 0 || made.data[0].length === 0) {
			const what = timeline.channel ? `No values of the channel ${timeline.channel}` : 'No records';
			panel.append(element('p', { className: 'empty', textContent: what }));
			continue;
		}
		const [times, ...series] = made.data;
		const shifted = times.map((time) => startOfDay + time);
		drawn.push(new uPlot(optionsOf(timeline, made, panel.clientWidth - 30), [shifted, ...series], panel));
	}
}

function boundText(microseconds) {
	return microseconds < 1000 ? `${microseconds} µs` : `${microseconds / 1000} ms`;
}

function drawHistograms() {
	const { sums } = sumsInView('sched');
	const place = document.getElementById('histograms');
	place.replaceChildren();
	data.histograms.forEach((histogram, number) => {
		const panel = element('div', { className: 'panel', id: `histogram-${number}` });
		const values = sums.get(number) || [];
		const counts = values.slice(0, -1);
		const total = counts.reduce((sum, count) => sum + count, 0);
		const title = histogram.title.charAt(0).toUpperCase() + histogram.title.slice(1);
		panel.append(element('div', { className: 'head' }, element('h3', { textContent: title })));
		place.append(panel);
		if (total === 0) {
			panel.append(element('p', { className: 'empty', textContent: 'None' }));
			return;
		}
		panel.append(element('p', { className: 'unit',
			textContent: `${countText(total)} in ${microsecondsText(values[values.length - 1])}` }));
		const bars = element('div', { className: 'bars' });
		const most = Math.max(...counts);
		counts.forEach((count, bucket) => {
			const last = histogram.bounds_us.length;
			const label = bucket < last ? `< ${boundText(histogram.bounds_us[bucket])}` :
				`≥ ${boundText(histogram.bounds_us[last - 1])}`;
			const bar = element('i', { className: count ? '' : 'none' });
			bar.style.width = `${100 * count / most}%`;
			bars.append(element('span', { textContent: label }), element('div', {}, bar),
				element('b', { textContent: countText(count) }));
		});
		panel.append(bars);
	});
}
