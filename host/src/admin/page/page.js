// The status page: asks the host every two seconds and shows its answers, how old they are, and whether it still answers.

import { Refused, Silent, ask, forgetToken, hasToken, keepToken } from "./host.js";
import { byId, setText, showText } from "./elements.js";
import { showAlarms, showEnded, showFoundSessions, showLosses, showSessions, showStatus, showVersion,
         timeText } from "./sections.js";

const INTERVAL_MS = 2000;
// A host that answers slowly is asked less often: its answers take at most a quarter of the time.
const PAUSE_PER_ANSWER = 3;
const UNAUTHORIZED = 401;

const REQUESTS = {
  status: { path: "/status", show: showStatus },
  sessions: { path: "/sessions", show: showSessions },
  alarms: { path: "/alarms?limit=1", show: showAlarms },
  ended: { path: "/sessions/ended?limit=20", show: showEnded },
  health: { path: "/health", show: showVersion },
};

let answeredAt = null;    // of the last complete round
let silentSince = null;   // wall-clock time; null while the host answers
let timer = 0;
let isAsking = false;

/**
 * Ask for everything and show each answer as soon as it arrives. Throws Silent when the host does not tell its status, and
 * Refused when the token is missing or wrong. Another request that fails leaves its section as it was, with the reason.
 */
async function round() {
  const answers = {};
  for (const [name, { path, show }] of Object.entries(REQUESTS)) {
    try {
      answers[name] = await ask(path);
      show(answers[name]);
      showProblem(name, "");
      showContent();
    } catch (failure) {
      if (failure.status === UNAUTHORIZED || (name === "status" && failure instanceof Silent))
        throw failure;
      showProblem(name, failure.message);
    }
  }
  showLosses(answers);
}

function showContent() {
  showSignIn(false);
  byId("content").hidden = false;
}

function showProblem(name, text) {
  for (const each of document.querySelectorAll(`.problem[data-of="${name}"]`))
    showText(each, text === "" ? "" : `Not available: ${text}`);
}

async function poll() {
  isAsking = true;
  const begun = performance.now();
  try {
    await round();
    answeredAt = performance.now();
    silentSince = null;
  } catch (failure) {
    if (failure instanceof Refused) {
      askForToken();
      return;
    }
    silentSince ??= new Date();
    showOutage(failure.message);
  }
  showFreshness();
  isAsking = false;
  schedule(Math.max(INTERVAL_MS, PAUSE_PER_ANSWER * (performance.now() - begun)));
}

/** Ask again after a pause, unless nobody sees the page. */
function schedule(pause) {
  clearTimeout(timer);
  if (!document.hidden && !isAsking)
    timer = setTimeout(poll, pause);
}

function showOutage(reason) {
  showText(byId("outage"), `The host has not answered since ${timeText(silentSince.toISOString())}: ${reason}. ` +
      (answeredAt === null ? "" : "What is shown below is old."));
}

function showFreshness() {
  if (silentSince === null)
    showText(byId("outage"), "");
  document.body.classList.toggle("stale", silentSince !== null);
  const seconds = answeredAt === null ? null : Math.floor((performance.now() - answeredAt) / 1000);
  setText(byId("freshness"), seconds === null ? "Waiting for the host" : `Data of ${seconds} s ago`);
}

function showSignIn(isWanted) {
  byId("sign-in").hidden = !isWanted;
  byId("forget").hidden = isWanted || !hasToken();
}

/** Show the form. Nothing is asked until it is sent, so isAsking stays set. */
function askForToken() {
  silentSince = null;
  showFreshness();
  showText(byId("refusal"), hasToken() ? "The host does not accept this token. It has a new one after each start." : "");
  forgetToken();
  byId("content").hidden = true;
  showSignIn(true);
  byId("token").focus();
}

byId("sign-in").addEventListener("submit", (event) => {
  event.preventDefault();
  const isPossible = keepToken(byId("token").value);
  byId("token").value = "";
  if (isPossible)
    poll();
  else
    showText(byId("refusal"), "A token has letters and digits only.");
});
byId("forget").addEventListener("click", () => {
  clearTimeout(timer);
  forgetToken();
  location.reload();
});
byId("find").addEventListener("input", showFoundSessions);
document.addEventListener("visibilitychange", () => schedule(0));
setInterval(showFreshness, 1000);
poll();
