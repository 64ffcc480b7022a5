/* SPDX-License-Identifier: GPL-2.0 */
/* The tables: sums over the time range, sorted by any column. */
'use strict';

const rowsShown = 12;
const sorting = {}; /* by table: the column, and whether it ascends */
const expanded = new Set();

function number(name, text) {
	return { name, text };
}

function text(name) {
	return { name, text: String, isText: true };
}

function taskRows(name, columns) {
	const { sums, length, intervals } = sumsInView(name);
	return [...sums].filter(([task]) => isTaskWanted(task)).map(([task, values]) => {
		const { comm, package: packageName, tgid, pid } = data.tasks[task];
		return [comm, packageName, tgid, pid, ...columns(values, length, intervals)];
	});
}

const tableKinds = [
	{
		id: 'processes', title: 'Processes', sort: 4, whole: true,
		columns: [text('comm'), text('package'), number('tgid', String), number('pid', String),
			number('CPU time', microsecondsText), number('of one CPU', percentText),
			number('of full capacity', percentText)],
		rows: () => taskRows('load', ([runtime, usage], length, intervals) => [
			runtime, length ? runtime / 1e4 / length : 0, intervals ? usage / 100 / intervals : 0]),
	},
	{
		id: 'svp', title: 'SVP tasks', sort: 5, whole: true,
		columns: [text('comm'), text('package'), number('tgid', String), number('pid', String),
			number('on a CPU', microsecondsText), number('waiting for a CPU', microsecondsText),
			number('D state', microsecondsText), number('IO wait', microsecondsText)],
		rows: () => taskRows('svp', (values) => values),
	},
	{
		id: 'uids', title: 'UIDs with the most IO', sort: 2,
		columns: [number('UID', String), text('package'), number('IO', bytesText),
			number('IO wait', microsecondsText)],
		rows: () => [...sumsInView('uids').sums].filter(([uid]) => isUserWanted(uid))
			.map(([uid, values]) => [uid, data.packages[uid] || '', ...values]),
	},
	{
		id: 'groups', title: 'Waits by group', sort: 1,
		columns: [text('group'), number('for a CPU', microsecondsText),
			number('D state for IO', microsecondsText), number('other D state', microsecondsText)],
		rows: () => [...sumsInView('groups').sums].map(([group, values]) => [data.groups[group], ...values]),
	},
	{
		id: 'disks', title: 'Devices', sort: 1,
		columns: [text('device'), number('read', bytesText), number('written', bytesText),
			number('busy', percentText)],
		rows: () => {
			const { sums, length } = sumsInView('disks');
			return [...sums].map(([disk, [read, written, busy]]) => [
				data.disks[disk], read, written, length ? busy / 10 / length : 0]);
		},
	},
	{
		id: 'channels', title: 'Records by channel', sort: 1,
		columns: [text('channel'), number('in range', countText), number('in all', countText),
			number('bytes in all', bytesText)],
		rows: () => {
			const { sums } = sumsInView('rate');
			return data.channels.map((channel, id) => [channel.name, (sums.get(id) || [0])[0],
				channel.records, channel.bytes]).filter((row) => row[2] > 0);
		},
	},
	{
		id: 'events', title: 'Losses and USB events', sort: 0, ascends: true, whole: true,
		columns: [number('time', (value) => clockText(value, 3)), text('event')],
		rows: () => [...data.losses, ...data.usb].map(({ t, text: event }) => [t / 1000, event])
			.filter(([time]) => time >= view.from && time <= view.to),
	},
];

function order(kind) {
	return sorting[kind.id] || { column: kind.sort, ascends: kind.ascends === true };
}

function sorted(kind, rows) {
	const { column, ascends } = order(kind);
	const sign = ascends ? 1 : -1;
	return rows.sort((a, b) => sign * (kind.columns[column].isText ?
		a[column].localeCompare(b[column]) : a[column] - b[column]));
}

function heading(kind) {
	const { column: sortedBy, ascends } = order(kind);
	return element('tr', {}, ...kind.columns.map((column, i) => {
		const cell = element('th', { textContent: column.name, className: column.isText ? 'text' : '',
			tabIndex: 0, scope: 'col' });
		if (i === sortedBy)
			cell.setAttribute('aria-sort', ascends ? 'ascending' : 'descending');
		const sort = () => {
			sorting[kind.id] = { column: i, ascends: i === sortedBy ? !ascends : column.isText === true };
			drawTables();
		};
		cell.addEventListener('click', sort);
		cell.addEventListener('keydown', (event) => {
			if (event.key === 'Enter')
				sort();
		});
		return cell;
	}));
}

function body(kind, rows) {
	return rows.map((row) => element('tr', {}, ...row.map((value, i) => element('td', {
		textContent: kind.columns[i].text(value),
		className: kind.columns[i].isText ? 'text' : '',
		title: kind.columns[i].isText ? value : '',
	}))));
}

function drawTables() {
	const place = document.getElementById('tables');
	place.replaceChildren();
	for (const kind of tableKinds) {
		const rows = sorted(kind, kind.rows());
		const shown = expanded.has(kind.id) ? rows : rows.slice(0, rowsShown);
		const panel = element('div', { className: kind.whole ? 'panel whole' : 'panel', id: `table-${kind.id}` },
			element('div', { className: 'head' }, element('h3', { textContent: kind.title }),
				element('span', { className: 'unit', textContent: `${countText(rows.length)}` })));
		if (rows.length === 0) {
			panel.append(element('p', { className: 'empty', textContent: 'None' }));
		} else {
			const table = element('table', {}, element('thead', {}, heading(kind)),
				element('tbody', {}, ...body(kind, shown)));
			panel.append(element('div', { className: 'scroll' }, table));
		}
		if (rows.length > rowsShown) {
			const more = element('button', { type: 'button', className: 'more',
				textContent: shown.length < rows.length ? `Show all ${rows.length}` : 'Show fewer' });
			more.addEventListener('click', () => {
				if (!expanded.delete(kind.id))
					expanded.add(kind.id);
				drawTables();
			});
			panel.append(more);
		}
		place.append(panel);
	}
}
