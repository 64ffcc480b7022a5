/* SPDX-License-Identifier: GPL-2.0 */
/* The data of the report: rows of a time range, sums over them, and numbers as text. */
'use strict';

const data = JSON.parse(document.getElementById('data').textContent);
const seconds = data.length_ms / 1000;
/* The filter: a range in seconds since the start, and a text in lower case. */
const view = { from: 0, to: Math.max(seconds, 1), text: '' };

/* A row has its time in seconds, the length of its interval, and the values of each thing. */
function readTable(rows) {
	const steps = [];
	for (let i = 1; i < rows.length; i++)
		steps.push((rows[i][0] - rows[i - 1][0]) / 1000 / rows[i - 1][1]);
	steps.sort((a, b) => a - b);
	const usual = steps.length ? steps[steps.length >> 1] : Math.max(seconds, 1);
	return rows.map(([time, intervals, ...things], i) => ({
		time: time / 1000,
		intervals,
		length: (intervals > 1 || i === 0 ? intervals * usual : (time - rows[i - 1][0]) / 1000) || usual,
		values: new Map(things.map(([thing, ...values]) => [thing, values])),
	}));
}

const tables = Object.fromEntries(Object.entries(data.tables).map(([name, rows]) => [name, readTable(rows)]));

function rowsInView(name) {
	return tables[name].filter((row) => row.time >= view.from && row.time <= view.to);
}

/* The sums of each thing over the rows in view, and the time of these rows. */
function sumsInView(name) {
	const sums = new Map();
	let length = 0;
	let intervals = 0;
	for (const row of rowsInView(name)) {
		length += row.length;
		intervals += row.intervals;
		for (const [thing, values] of row.values) {
			const sum = sums.get(thing);
			if (sum)
				values.forEach((value, i) => { sum[i] += value; });
			else
				sums.set(thing, values.slice());
		}
	}
	return { sums, length, intervals };
}

function isWanted(...names) {
	return view.text === '' || names.some((name) => String(name).toLowerCase().includes(view.text));
}

function isTaskWanted(number) {
	const task = data.tasks[number];
	return isWanted(task.comm, task.package, task.pid, task.tgid);
}

function isUserWanted(uid) {
	return isWanted(uid, data.packages[uid] || '');
}

function taskName(number) {
	const task = data.tasks[number];
	return `${task.package || task.comm || '(no name)'} ${task.pid}`;
}

function digits(value, places) {
	return value.toLocaleString('en', { minimumFractionDigits: places, maximumFractionDigits: places });
}

/* Three digits that count. */
function short(value) {
	const size = Math.abs(value);
	return digits(value, size === 0 || size >= 100 ? 0 : size >= 10 ? 1 : 2);
}

function scaled(value, step, units) {
	let unit = 0;
	/* 999.6 ms is 1 s: it has three digits. */
	while (value >= step * 0.9995 && unit < units.length - 1) {
		value /= step;
		unit++;
	}
	return `${unit === 0 ? digits(value, 0) : short(value)} ${units[unit]}`;
}

const bytesText = (value) => scaled(value, 1000, ['B', 'kB', 'MB', 'GB', 'TB']);
const microsecondsText = (value) => scaled(value, 1000, ['µs', 'ms', 's']);
const countText = (value) => digits(value, 0);
const percentText = (value) => `${short(value)} %`;

/* The device's time of day at the start, in seconds. Charts count from there, so their ticks are whole seconds. */
const midnight = 86400;
const startOfDay = (data.start_ms / 1000 + data.utc_offset_s) % midnight;

/* The wall-clock time of the device. */
function clockText(second, places = 0) {
	const date = new Date(data.start_ms + second * 1000 + data.utc_offset_s * 1000);
	return date.toISOString().slice(11, places ? 20 + places : 19);
}

function dateText() {
	return new Date(data.start_ms + data.utc_offset_s * 1000).toISOString().slice(0, 10);
}

function zoneText() {
	const minutes = Math.round(data.utc_offset_s / 60);
	const pad = (value) => String(Math.trunc(Math.abs(value))).padStart(2, '0');
	return `UTC${minutes < 0 ? '−' : '+'}${pad(minutes / 60)}:${pad(minutes % 60)}`;
}

function element(tag, properties = {}, ...children) {
	const made = Object.assign(document.createElement(tag), properties);
	made.append(...children);
	return made;
}
