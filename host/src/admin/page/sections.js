// Shows the answers of the host, one function for each answer.

import { byId, element, fill, fillList, fillTable, setText, showText } from "./elements.js";

// A browser shows this many rows without effort. The NMS that need attention come first.
const NMS_ROWS_MAX = 100;
const SEVERITIES = ["ok", "notice", "warning", "critical"];
// the worst first
const ALARM_SEVERITIES = ["PS_CRITICAL", "PS_MAJOR", "PS_MINOR", "PS_WARNING", "PS_INDETERMINATE"];

/** "2025-03-01T12:00:00.123Z" as "2025-03-01 12:00:00 UTC"; other texts as they are. */
export function timeText(utc) {
  const parts = /^(\d{4}-\d\d-\d\d)T(\d\d:\d\d:\d\d)(\.\d+)?Z$/.exec(utc);
  return parts ? `${parts[1]} ${parts[2]} UTC` : utc;
}

function durationText(ms) {
  const seconds = Math.round(ms / 1000);
  if (seconds < 1)
    return ms > 0 ? `${ms} ms` : "–";
  if (seconds < 120)
    return `${seconds} s`;
  return seconds < 7200 ? `${Math.round(seconds / 60)} min` : `${Math.round(seconds / 3600)} h`;
}

function rounded(number) {
  return Number(number.toFixed(number < 10 ? 1 : 0));
}

function sum(items, valueOf) {
  return items.reduce((total, each) => total + valueOf(each), 0);
}

export function showStatus(status) {
  const severity = SEVERITIES.includes(status.severity) ? status.severity : "notice";
  const health = byId("health");
  health.className = `notice ${severity}`;
  setText(health, `${status.severity}: ${status.summary}`);
  // read aloud when it changes; the sentence has figures that change all the time
  setText(byId("severity"), `Health: ${status.severity}`);
  document.title = status.severity === "ok" ? "EMS status" : `${status.severity} – EMS status`;
  byId("no-conditions").hidden = status.conditions.length > 0;
  const seen = new Map();
  fill(byId("conditions"), status.conditions, (each) => numbered(seen, each.word), newCondition, fillCondition);
}

/** A key for one of several conditions with the same word, whose sentences change all the time. */
function numbered(seen, word) {
  seen.set(word, (seen.get(word) ?? 0) + 1);
  return `${word} ${seen.get(word)}`;
}

function newCondition() {
  const item = element("li");
  item.append(element("p", "", "word"), element("p"), element("p", "", "quiet"));
  return item;
}

function fillCondition(item, condition) {
  item.className = SEVERITIES.includes(condition.severity) ? condition.severity : "notice";
  const [sentence, advice, since] = item.children;
  setText(sentence, `${condition.severity}: ${condition.sentence}`);
  showText(advice, condition.advice);
  showText(since, condition.since === "" ? "" : `since ${timeText(condition.since)}`);
}

/** Events delivered per second, from this answer and the one before. */
class EventRates {
  #before = new Map();
  #time = 0;

  /** Return the rate by the number of the session; none for one that was not in the answer before. */
  update(sessions) {
    const now = performance.now();
    const seconds = (now - this.#time) / 1000;
    const rates = new Map();
    const delivered = new Map();
    for (const each of sessions) {
      const last = this.#before.get(each.number);
      if (last !== undefined && seconds > 0)
        rates.set(each.number, Math.max(0, each.events.delivered - last) / seconds);
      delivered.set(each.number, each.events.delivered);
    }
    this.#before = delivered;
    this.#time = now;
    return rates;
  }
}

const eventRates = new EventRates();
let lastSessions = [];
let lastRates = new Map();

function needsAttention(session) {
  return session.state !== "normal" || session.ping.unanswered > 0 || session.events.lost > 0;
}

export function showSessions(answer) {
  lastSessions = answer.sessions;
  lastRates = eventRates.update(lastSessions);
  const calls = sum(lastSessions, (each) => each.callsPerSecond);
  const events = sum([...lastRates.values()], (each) => each);
  setText(byId("nms-summary"), `${lastSessions.length} connected, ${rounded(calls)} calls/s, ${rounded(events)} events/s`);
  byId("draining").hidden = !answer.draining;
  showFoundSessions();
}

/** Show the sessions that the operator looks for. */
export function showFoundSessions() {
  const wanted = byId("find").value.trim().toLowerCase();
  const found = lastSessions.filter((each) => `${each.user}\n${each.nms}\n${each.peer}`.toLowerCase().includes(wanted));
  const ordered = [...found.filter(needsAttention), ...found.filter((each) => !needsAttention(each))];
  const shown = ordered.slice(0, NMS_ROWS_MAX);
  fillTable(byId("nms"), shown, (each) => each.number, sessionCells, needsAttention);
  showText(byId("nms-more"), shown.length === lastSessions.length ? "" :
      `${shown.length} of ${lastSessions.length} shown, those that need attention first.`);
}

function sessionCells(session) {
  const rate = lastRates.get(session.number);
  return [session.user, session.nms, session.state, rounded(session.ping.averageMs), session.ping.unanswered,
          rounded(session.callsPerSecond), rate === undefined ? "–" : rounded(rate), session.events.queued,
          durationText(session.oldestMs), session.events.lost, timeText(session.started)];
}

export function showEnded(answer) {
  byId("no-ended").hidden = answer.sessions.length > 0;
  fillTable(byId("ended"), answer.sessions, (each) => each.number,
            (each) => [each.user, each.nms, timeText(each.ended), each.reason, each.by, each.events.lost,
                       each.events.queued]);
}

export function showAlarms(answer) {
  fillList(byId("alarms"), ALARM_SEVERITIES.map((name) =>
      [name.replace("PS_", "").toLowerCase(), answer.counts[name] ?? 0]));
  setText(byId("alarms-summary"), `${answer.matching} active, ${answer.unacknowledged} not acknowledged`);
}

export function showVersion(health) {
  setText(byId("version"), `Version ${health.version}`);
}

/** Show what was lost, from those answers that have arrived. */
export function showLosses({ sessions, ended, health }) {
  const pairs = [];
  if (sessions) {
    const losing = sessions.sessions.filter((each) => each.events.lost > 0);
    losing.sort((a, b) => b.events.lost - a.events.lost);
    const names = losing.slice(0, 5).map((each) => `${each.user} ${each.events.lost}`);
    const total = sum(losing, (each) => each.events.lost);
    pairs.push(["Events lost by connected NMS", total === 0 ? "0" : `${total} (${names.join(", ")}${losing.length > 5 ? ", …" : ""})`]);
  }
  if (ended) {
    pairs.push(["Events lost by recently ended sessions", sum(ended.sessions, (each) => each.events.lost)]);
    pairs.push(["Events not delivered to recently ended sessions", sum(ended.sessions, (each) => each.events.queued)]);
    pairs.push(["Ended sessions that are not recorded", ended.dropped]);
  }
  if (health) {
    pairs.push(["Records missing in the operation log", health.operationLog.missing]);
    pairs.push(["Records missing in the security log", health.securityLog.missing]);
  }
  fillList(byId("losses"), pairs);
}
