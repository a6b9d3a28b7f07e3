"""Opens pages in headless Chromium, by its DevTools protocol, and says what comes of them."""

import asyncio
import itertools
import json
import os
import subprocess
import tempfile
import time
from collections.abc import Iterator
from contextlib import contextmanager
from dataclasses import dataclass, field
from pathlib import Path
from typing import Any

from tornado.websocket import WebSocketClientConnection, websocket_connect

MOST_SECONDS = 120.0


@dataclass
class Visit:
    """What a page did in a window of a certain width."""

    console: list[str] = field(default_factory=list)
    """Messages, exceptions, and the browser's own complaints."""
    requests: list[str] = field(default_factory=list)
    facts: dict[str, Any] = field(default_factory=dict)
    """What the script has found in the page."""


@contextmanager
def chromium() -> Iterator[str]:
    """A browser; its address for `visit`."""
    with tempfile.TemporaryDirectory(ignore_cleanup_errors=True) as profile:
        options = ["--headless", "--disable-gpu", "--remote-debugging-port=0", f"--user-data-dir={profile}"]
        if os.geteuid() == 0:
            options.append("--no-sandbox")
        process = subprocess.Popen(["chromium", *options], stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)
        try:
            yield _address(Path(profile, "DevToolsActivePort"))
        finally:
            process.terminate()
            process.wait()


def _address(file: Path) -> str:
    """The browser writes this file when it is ready."""
    end = time.monotonic() + MOST_SECONDS
    while time.monotonic() < end:
        if file.exists() and len(lines := file.read_text().split("\n")) == 2:
            return f"ws://127.0.0.1:{lines[0]}{lines[1]}"
        time.sleep(0.1)
    raise TimeoutError("Chromium does not start")


def visit(browser: str, page: Path, width: int, script: str) -> Visit:
    """Opens the page and evaluates a script in it, an expression whose value is the facts or a promise of them."""
    return asyncio.run(asyncio.wait_for(_visit(browser, page.resolve().as_uri(), width, script), MOST_SECONDS))


async def _visit(browser: str, address: str, width: int, script: str) -> Visit:
    connection = await websocket_connect(browser, max_message_size=2**28)
    try:
        return await _look(_Tab(connection), address, width, script)
    finally:
        connection.close()
        await connection.read_message()  # the answer, after which the connection is closed


async def _look(tab: "_Tab", address: str, width: int, script: str) -> Visit:
    await tab.open()
    window = {"width": width, "height": 900, "deviceScaleFactor": 1, "mobile": width < 600}
    await tab.call("Emulation.setDeviceMetricsOverride", **window)
    for domain in ("Runtime", "Log", "Network", "Page"):
        await tab.call(f"{domain}.enable")
    await tab.call("Page.navigate", url=address)
    await tab.wait_for("Page.loadEventFired")
    answer = await tab.call("Runtime.evaluate", expression=script, awaitPromise=True, returnByValue=True)
    tab.visit.facts = answer["result"].get("value") or {"failure": json.dumps(answer)}
    return tab.visit


class _Tab:
    def __init__(self, connection: WebSocketClientConnection) -> None:
        self.visit = Visit()
        self._connection = connection
        self._numbers = itertools.count(1)
        self._session: dict[str, str] = {}
        self._seen: set[str] = set()

    async def open(self) -> None:
        target = await self.call("Target.createTarget", url="about:blank")
        session = await self.call("Target.attachToTarget", targetId=target["targetId"], flatten=True)
        self._session = {"sessionId": session["sessionId"]}

    async def call(self, method: str, **parameters: Any) -> dict[str, Any]:
        number = next(self._numbers)
        message = {"id": number, "method": method, "params": parameters, **self._session}
        await self._connection.write_message(json.dumps(message))
        while (answer := await self._receive()).get("id") != number:
            pass
        if "error" in answer:
            raise RuntimeError(f"{method}: {answer['error']}")
        result: dict[str, Any] = answer["result"]
        return result

    async def wait_for(self, event: str) -> None:
        while event not in self._seen:
            await self._receive()

    async def _receive(self) -> dict[str, Any]:
        text = await self._connection.read_message()
        if text is None:
            raise RuntimeError("Chromium has ended")
        message: dict[str, Any] = json.loads(text)
        event = message.get("method", "")
        self._seen.add(event)
        if event in ("Runtime.consoleAPICalled", "Runtime.exceptionThrown", "Log.entryAdded"):
            self.visit.console.append(json.dumps(message["params"]))
        elif event == "Network.requestWillBeSent":
            self.visit.requests.append(message["params"]["request"]["url"])
        return message
