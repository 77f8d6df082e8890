// Asks the host. Answers are JSON; the token, where one is needed, is kept until the tab is closed.

const TOKEN_KEY = "kelp.token";
// Longer than any answer takes while the host is well.
const ANSWER_LIMIT_MS = 5000;

/** The host answered, but refused the request. */
export class Refused extends Error {
  constructor(status, text) {
    super(text);
    this.status = status;
  }
}

/** Nothing that can be understood came from the host. */
export class Silent extends Error {}

export function hasToken() {
  return sessionStorage.getItem(TOKEN_KEY) !== null;
}

export function forgetToken() {
  sessionStorage.removeItem(TOKEN_KEY);
}

/** Keep a token that the operator typed. Return whether it can be one at all. */
export function keepToken(typed) {
  const token = typed.trim();
  const isPossible = /^[\x21-\x7e]{1,500}$/.test(token);
  if (isPossible)
    sessionStorage.setItem(TOKEN_KEY, token);
  return isPossible;
}

/** Send a GET request. Throws Refused or Silent. */
export async function ask(path) {
  const headers = { Accept: "application/json" };
  if (hasToken())
    headers.Authorization = "Bearer " + sessionStorage.getItem(TOKEN_KEY);
  let answer, body;
  try {
    answer = await fetch(path, {
      headers, cache: "no-store", credentials: "same-origin", mode: "same-origin", redirect: "error",
      signal: AbortSignal.timeout(ANSWER_LIMIT_MS),
    });
    body = await answer.json();
  } catch (failure) {
    throw new Silent(failure.name === "TimeoutError" ? `no answer within ${ANSWER_LIMIT_MS / 1000} s` : "no connection");
  }
  if (!answer.ok)
    throw new Refused(answer.status, typeof body?.error === "string" ? body.error : `status ${answer.status}`);
  return body;
}
