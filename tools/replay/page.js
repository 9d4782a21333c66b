// SPDX-License-Identifier: MIT
'use strict';
(() => {
    const svg = document.getElementById('picture');
    const frame = svg.parentElement;
    const readout = document.getElementById('readout');
    const shown = document.getElementById('shown');
    const ticks = svg.querySelector('.ticks');
    const plots = [...svg.querySelectorAll('.plot')];
    const begin = Number(svg.dataset.begin); // milliseconds; all other times are seconds
    const total = Number(svg.dataset.seconds);
    const height = Number(svg.dataset.axis);
    const least = Math.min(total, 2);
    const firstDate = 3 * 365 * 86400000;
    let from = 0, to = total;
    let cursor = null;

    // Times as the text has them.
    const two = n => String(n).padStart(2, '0');
    function moment(milliseconds, parts) {
        const rest = Math.floor(milliseconds / 1000) % 86400;
        const day = Math.floor(milliseconds / 86400000);
        let clock = two(Math.floor(rest / 3600)) + ':' + two(Math.floor(rest / 60) % 60) + ':' +
            two(rest % 60);
        if (parts && milliseconds % 1000)
            clock += '.' + String(Math.floor(milliseconds % 1000)).padStart(3, '0');
        const date = milliseconds >= firstDate ? new Date(milliseconds).toISOString().slice(0, 10)
            : day > 0 ? day + 'd' : '';
        return { clock, date, text: (date ? date + ' ' : '') + clock };
    }
    const text = (seconds, parts) => moment(begin + Math.round(1000 * seconds), parts).text;

    // The document holds the data: what follows reads it from the paths.
    function parseCurve(path) {
        const times = [], values = [];
        let time = 0;
        for (const [, command, a, b] of path.matchAll(/([MHV])(-?[\d.]+)(?: (-?[\d.]+))?/g)) {
            if (command !== 'V')
                time = Number(a);
            if (command !== 'H') {
                times.push(time);
                values.push(Number(command === 'M' ? b : a));
            }
        }
        return { times, values };
    }
    // The last index whose time is not behind `time`; -1 before the first.
    function last(times, time) {
        let low = 0, high = times.length;
        while (low < high) {
            const middle = (low + high) >> 1;
            if (times[middle] <= time)
                low = middle + 1;
            else
                high = middle;
        }
        return low - 1;
    }
    const readers = [];
    for (const plot of plots) {
        const { sensor, lane, marks } = plot.dataset;
        if (sensor !== undefined) {
            const curve = plot.querySelector('.curve');
            const { times, values } = parseCurve(curve ? curve.getAttribute('d') : '');
            readers.push(time => {
                const i = last(times, time);
                return sensor + ': ' + (i < 0 ? 'no reading' : values[i] + ' °C');
            });
        }
        if (lane !== undefined) {
            const states = [...plot.querySelectorAll('.span')].map(path => {
                const times = [], ends = [];
                const source = path.tagName === 'use'
                    ? svg.querySelector(path.getAttribute('href')) : path;
                let begin = 0;
                for (const [, move, a, b] of
                    source.getAttribute('d').matchAll(/([Mm])([\d.]+) 0h([\d.]+)/g)) {
                    begin = Number(a) + (move === 'm' ? begin : 0);
                    times.push(begin);
                    ends.push(begin + Number(b));
                }
                return { state: path.dataset.state, times, ends };
            });
            readers.push(time => {
                let begin = -1, said = '';
                for (const { state, times, ends } of states) {
                    const i = last(times, time);
                    if (i >= 0 && time <= ends[i] && times[i] > begin) {
                        begin = times[i];
                        said = lane + ': ' + state;
                    }
                }
                return said;
            });
        }
        if (marks !== undefined) {
            for (const path of plot.querySelectorAll('.mark')) {
                const times = [...path.getAttribute('d').matchAll(/M([\d.]+)/g)].map(m => +m[1]);
                readers.push(time => {
                    const near = 6 * (to - from) / svg.clientWidth;
                    const i = last(times, time + near);
                    return i >= 0 && times[i] >= time - near
                        ? path.dataset.mark + ' at ' + text(times[i], true) : '';
                });
            }
        }
    }

    function drawTicks() {
        const steps = [1, 2, 5, 10, 30, 60, 120, 300, 600, 1800, 3600, 7200, 10800, 21600, 43200,
            86400, 172800, 604800, 2592000, 7776000, 31536000];
        const most = Math.max(2, Math.min(10, Math.floor(svg.clientWidth / 75)));
        const step = steps.find(s => to - from <= s * most) || steps[steps.length - 1];
        let marks = '';
        const start = begin / 1000 + from;
        for (let at = Math.ceil(start / step) * step; at <= start + to - from; at += step) {
            const { clock, date } = moment(1000 * at);
            const label = date && (step >= 86400 || clock === '00:00:00') ? date
                : clock.slice(0, step < 60 ? 8 : 5);
            const x = (100 * (at - start) / (to - from)).toFixed(3) + '%';
            marks += `<line x1="${x}" x2="${x}" y1="22" y2="${height}"/>` +
                `<text x="${x}" y="${height + 15}">${label}</text>`;
        }
        ticks.innerHTML = marks;
    }

    const namespace = 'http://www.w3.org/2000/svg';
    function overlay(name, kind) {
        const element = document.createElementNS(namespace, kind);
        element.setAttribute('class', name);
        element.setAttribute(kind === 'line' ? 'y1' : 'y', 22);
        element.setAttribute(kind === 'line' ? 'y2' : 'height', kind === 'line' ? height : height - 22);
        element.style.display = 'none';
        svg.append(element);
        return element;
    }
    const line = overlay('cursor', 'line');
    const selection = overlay('selection', 'rect');
    const x = time => 100 * (time - from) / (to - from);

    function drawCursor() {
        const visible = cursor !== null && cursor >= from && cursor <= to;
        line.style.display = visible ? '' : 'none';
        readout.hidden = !visible;
        if (!visible)
            return;
        line.setAttribute('x1', x(cursor) + '%');
        line.setAttribute('x2', x(cursor) + '%');
        const heading = document.createElement('b');
        heading.textContent = text(cursor, true);
        readout.replaceChildren(heading);
        for (const read of readers) {
            const said = read(cursor);
            if (said)
                readout.append(said, document.createElement('br'));
        }
        const box = svg.getBoundingClientRect(), figure = readout.offsetParent.getBoundingClientRect();
        const at = box.left - figure.left + box.width * x(cursor) / 100;
        const right = at + 14 + readout.offsetWidth < figure.width;
        readout.style.left = Math.max(4, right ? at + 14 : at - 14 - readout.offsetWidth) + 'px';
        readout.style.top = box.top - figure.top + 30 + 'px';
    }

    function show(newFrom, newTo) {
        const length = Math.min(total, Math.max(least, newTo - newFrom));
        from = Math.min(Math.max(0, newFrom), total - length);
        to = from + length;
        for (const plot of plots) {
            const view = plot.viewBox.baseVal;
            plot.setAttribute('viewBox', `${from} ${view.y} ${to - from} ${view.height}`);
        }
        shown.textContent = text(from) + ' to ' + text(to);
        drawTicks();
        drawCursor();
    }
    function zoom(factor, around) {
        const centre = around ?? (cursor !== null && cursor >= from && cursor <= to
            ? cursor : (from + to) / 2);
        show(centre - (centre - from) * factor, centre + (to - centre) * factor);
    }
    function pan(part) {
        const way = part * (to - from);
        show(from + way, to + way);
    }
    function move(part) {
        cursor = Math.min(total, Math.max(0, (cursor ?? (from + to) / 2) + part * (to - from)));
        if (cursor < from || cursor > to)
            pan(cursor < from ? -.5 : .5);
        drawCursor();
    }
    function put(time) {
        cursor = time;
        move(0);
    }

    const actions = {
        in: () => zoom(.5), out: () => zoom(2), left: () => pan(-.25), right: () => pan(.25),
        all: () => show(0, total)
    };
    for (const button of document.querySelectorAll('.controls button'))
        button.addEventListener('click', actions[button.dataset.action]);
    const keys = {
        '+': actions.in, '=': actions.in, '-': actions.out, '0': actions.all,
        PageUp: actions.left, PageDown: actions.right,
        ArrowLeft: () => move(-.01), ArrowRight: () => move(.01),
        Home: () => put(from), End: () => put(to),
        Escape: () => { cursor = null; drawCursor(); }
    };
    frame.addEventListener('keydown', event => {
        if (event.ctrlKey || event.metaKey || event.altKey || !keys[event.key])
            return;
        event.preventDefault();
        keys[event.key]();
    });

    let pressed = null;
    function timeAt(event) {
        const box = svg.getBoundingClientRect();
        const part = Math.min(1, Math.max(0, (event.clientX - box.left) / box.width));
        return from + part * (to - from);
    }
    svg.addEventListener('pointerdown', event => {
        pressed = timeAt(event);
        svg.setPointerCapture(event.pointerId);
    });
    svg.addEventListener('pointermove', event => {
        cursor = timeAt(event);
        if (pressed !== null) {
            selection.style.display = '';
            selection.setAttribute('x', x(Math.min(pressed, cursor)) + '%');
            selection.setAttribute('width', Math.abs(x(cursor) - x(pressed)) + '%');
        }
        drawCursor();
    });
    svg.addEventListener('pointerup', event => {
        const end = timeAt(event), start = pressed;
        pressed = null;
        selection.style.display = 'none';
        if (start !== null && Math.abs(x(end) - x(start)) > 1)
            show(Math.min(start, end), Math.max(start, end));
    });
    svg.addEventListener('pointerleave', () => {
        if (pressed === null) {
            cursor = null;
            drawCursor();
        }
    });
    svg.addEventListener('dblclick', actions.all);
    svg.addEventListener('wheel', event => {
        if (!event.ctrlKey)
            return;
        event.preventDefault();
        zoom(event.deltaY > 0 ? 1.25 : .8, timeAt(event));
    }, { passive: false });
    new ResizeObserver(() => { drawTicks(); drawCursor(); }).observe(svg);

    document.querySelector('.controls').hidden = false;
    show(0, total);
})();
