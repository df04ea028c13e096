// A channel for OpenClaw that signs in by a QR code of the local server and carries no messages.
import { mkdir, readFile, rename, writeFile } from "node:fs/promises";
import { readFileSync } from "node:fs";
import { homedir } from "node:os";
import { join } from "node:path";
import { setTimeout as pause } from "node:timers/promises";

const channelId = "openclaw-weixin";
const pollIntervalMs = 500;

const stateFolder = () => join(process.env.OPENCLAW_STATE_DIR || join(homedir(), ".openclaw"), channelId);
const accountsFile = () => join(stateFolder(), "accounts.json");

/** The ids of the accounts that signed in; none when nobody has. */
function accountIds() {
    try {
        return JSON.parse(readFileSync(accountsFile(), "utf8"));
    } catch (error) {
        if (error.code === "ENOENT")
            return [];
        throw error;
    }
}

async function keepAccount(id) {
    const ids = [...new Set([...accountIds(), id])];
    await mkdir(stateFolder(), { recursive: true, mode: 0o700 });
    await writeFile(accountsFile() + ".new", JSON.stringify(ids, null, 2), { mode: 0o600 });
    await rename(accountsFile() + ".new", accountsFile());
}

/** What the server that this plug-in came from answers; an error carries the server's own words. */
async function ask(method, path) {
    const { origin } = JSON.parse(await readFile(new URL("server.json", import.meta.url), "utf8"));
    const response = await fetch(origin + path, { method });
    const answer = await response.json();
    if (!response.ok)
        throw new Error(`微信登录失败：${answer.message}`);
    return answer.data;
}

/** Makes OpenClaw count the channel among those in use. */
const switchOn = (hostConfig) =>
    hostConfig.mutateConfigFile({
        afterWrite: { mode: "auto" },
        mutate: (draft) => {
            draft.channels = { ...draft.channels, [channelId]: { ...draft.channels?.[channelId], enabled: true } };
        },
    });

/** Shows a QR code and gives the account that scanned it; fails when the server refuses. */
async function scannedAccount(log) {
    const { id, rows } = await ask("POST", "/weixin/login");
    log(`请用微信扫描二维码：\n\n${rows.join("\n")}\n\n等待扫码……`);
    for (;;) {
        const { state, accountId } = await ask("GET", `/weixin/login?id=${id}`);
        if (state === "scanned")
            return accountId;
        await pause(pollIntervalMs);
    }
}

async function login(hostConfig, log) {
    await keepAccount(await scannedAccount(log));
    await switchOn(hostConfig);
    log("login success");
}

const channel = (hostConfig) => ({
    id: channelId,
    meta: {
        id: channelId,
        label: "微信",
        selectionLabel: "微信（本地服务器）",
        docsPath: "/channels/openclaw-weixin",
        blurb: "本地服务器的微信登录",
    },
    capabilities: { chatTypes: ["direct"] },
    config: {
        listAccountIds: accountIds,
        defaultAccountId: () => accountIds()[0] ?? "default",
        resolveAccount: (_config, accountId) => ({ accountId, enabled: true }),
        isConfigured: ({ accountId }) => accountIds().includes(accountId),
        describeAccount: ({ accountId }) => ({ accountId, enabled: true, configured: accountIds().includes(accountId) }),
    },
    auth: { login: ({ runtime }) => login(hostConfig, runtime.log) },
});

export default {
    id: channelId,
    name: "微信（本地服务器）",
    description: "本地服务器的微信登录",
    register: (api) => api.registerChannel({ plugin: channel(api.runtime?.config) }),
};
