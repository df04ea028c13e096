(function () {
    let reported = false;

    function firstCapture(pattern, text) {
        const match = pattern.exec(text);
        return match ? match[1] : null;
    }

    function check() {
        if (reported)
            return;
        const text = document.body ? document.body.innerText : "";
        const html = document.body ? document.body.innerHTML : "";
        const appId = firstCapture(/AppID[:\s]*([0-9]{8,15})/i, text)
            || firstCapture(/appId["']?[:\s=]+["']?([0-9]{8,15})/i, html);
        const appSecret = firstCapture(/AppSecret[:\s]*([A-Za-z0-9]{20,64})/i, text)
            || firstCapture(/appSecret["']?[:\s=]+["']?([A-Za-z0-9]{20,64})/i, html);
        if (!appId || !appSecret)
            return;
        reported = true;
        console.info("{{mark}}" + JSON.stringify({ appId: appId, appSecret: appSecret }));
    }

    check();
    new MutationObserver(check).observe(document.body || document.documentElement,
        { childList: true, subtree: true, characterData: true });
    setInterval(check, 2000);
})();
