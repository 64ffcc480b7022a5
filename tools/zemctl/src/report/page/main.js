/* SPDX-License-Identifier: GPL-2.0 */
/* The head of the page and the filter. The filter is also behind the # of the address. */
'use strict';

const field = (id) => document.getElementById(id);

function drawHead() {
	const { machine } = data;
	document.title = `${data.file} – zem report`;
	field('title').textContent = data.file;
	const about = machine ? [machine.model, `Linux ${machine.kernel}`, `${machine.cpus} CPUs`] : [];
	about.push(`${dateText()} ${clockText(0)} to ${clockText(seconds)} ${zoneText()}`);
	field('machine').textContent = about.filter((part) => part !== '').join(' · ');
	const losses = data.losses.length + data.more_losses;
	const bytes = data.channels.reduce((sum, channel) => sum + channel.bytes, 0);
	const isWhole = data.end === 'finished';
	const facts = [
		[`${digits(seconds, 1)} s`, 'length'],
		[countText(data.records), 'records'],
		[bytesText(bytes), 'of records'],
		[short(seconds > 0 ? data.records / seconds : 0), 'records/s'],
		[losses === 0 ? 'none' : countText(losses), 'losses', losses === 0 ? 'good' : 'bad'],
		[isWhole ? 'complete' : 'end is missing', 'capture', isWhole ? 'good' : 'bad'],
	];
	field('facts').replaceChildren(...facts.map(([value, name, className = '']) => element('li', { className },
		element('b', { textContent: value }), element('span', { textContent: name }))));
	const omitted = data.tasks_left_out ? ` ${countText(data.tasks_left_out)} tasks with the least CPU time are left out.` : '';
	field('footer').textContent = `zemctl ${data.zemctl}. Values of an interval are at its end. ` +
		`Drag over a timeline to select a time.${omitted}`;
}

function draw() {
	field('from').value = view.from.toFixed(1);
	field('to').value = view.to.toFixed(1);
	const range = `${clockText(view.from, 1)} to ${clockText(view.to, 1)}`;
	field('range').textContent = range;
	field('filtered').textContent = `Shown: ${range}${view.text ? `, "${view.text}"` : ''}`;
	drawTimelines();
	drawHistograms();
	drawTables();
}

function keep() {
	const words = new URLSearchParams();
	if (view.text)
		words.set('search', view.text);
	if (view.from > 0 || view.to < seconds) {
		words.set('from', view.from.toFixed(3));
		words.set('to', view.to.toFixed(3));
	}
	history.replaceState(null, '', words.size ? `#${words}` : '#');
}

function setRange(from, to) {
	const last = Math.max(seconds, 1);
	view.from = Math.min(Math.max(0, from), last);
	view.to = Math.min(Math.max(0, to), last);
	if (!(view.to - view.from > 0.001)) {
		view.from = 0;
		view.to = last;
	}
	keep();
	draw();
}

function setText(value) {
	view.text = value.trim().toLowerCase();
	keep();
	draw();
}

function setTheme(theme) {
	document.documentElement.dataset.theme = theme;
	field('theme').textContent = theme === 'dark' ? 'Light' : 'Dark';
}

function start() {
	const words = new URLSearchParams(location.hash.slice(1));
	const dark = matchMedia('(prefers-color-scheme: dark)');
	setTheme(dark.matches ? 'dark' : 'light');
	drawHead();
	view.text = (words.get('search') || '').toLowerCase();
	field('search').value = view.text;
	setRange(Number(words.get('from') || 0), Number(words.get('to') || seconds));

	for (const id of ['from', 'to'])
		field(id).addEventListener('change', () => setRange(Number(field('from').value), Number(field('to').value)));
	field('search').addEventListener('input', () => setText(field('search').value));
	field('filter').addEventListener('submit', (event) => event.preventDefault());
	field('reset').addEventListener('click', () => {
		field('search').value = '';
		view.text = '';
		setRange(0, seconds);
	});
	const redraw = (theme) => {
		setTheme(theme);
		drawTimelines();
	};
	field('theme').addEventListener('click', () => redraw(document.documentElement.dataset.theme === 'dark' ? 'light' : 'dark'));
	dark.addEventListener('change', () => redraw(dark.matches ? 'dark' : 'light'));
	addEventListener('resize', drawTimelines);
	/* Paper is white. */
	let shown = '';
	addEventListener('beforeprint', () => {
		shown = document.documentElement.dataset.theme;
		redraw('light');
	});
	addEventListener('afterprint', () => redraw(shown));
}

start();
