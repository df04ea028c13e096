# make run 与 make test 之外的目标见 make help。
SHELL := /bin/bash
.SHELLFLAGS := -euo pipefail -c
.DEFAULT_GOAL := help
MAKEFLAGS += --no-print-directory

release := build/release
package := build/package

BUILD_NUMBER := 1

.PHONY: help packages configure configure-tidy build run test prove package prove-package bench fuzz sanitize lint lint-format lint-includes lint-tidy lint-qml clean

help: ## 列出所有目标
	@sed -nE 's/^([a-z-]+):.*## (.*)/make \1\t\2/p' Makefile | expand -t 20

packages:
	@tools/install-packages

configure: packages
	@[ -f $(release)/build.ninja ] || cmake --preset release

configure-tidy: packages
	@[ -f build/tidy/build.ninja ] || cmake --preset tidy

build: configure ## 构建应用与本地服务器（build/release）
	@cmake --build --preset release --target Vaelix vaelix-devserver

run: build ## 构建后启动本地服务器并打开 Vaelix
	@tools/run

test: configure ## 构建并运行全部测试
	@cmake --build --preset release
	@tools/with-session ctest --preset release -j $$(nproc)

prove: build ## 真实安装、运行并卸载 OpenClaw，逐条验证其命令行（需联网，数分钟）
	@tools/prove-openclaw

# The sources' own date, so that the same sources make the same package.
package prove-package: export SOURCE_DATE_EPOCH ?= $(shell git log -1 --format=%ct 2>/dev/null || date +%s)

package: packages ## 构建安装包与更新镜像（build/package），构建号用 BUILD_NUMBER=N 指定
	@cmake --preset package -DVAELIX_BUILD_NUMBER=$(BUILD_NUMBER)
	@cmake --build --preset package --target Vaelix vaelix-package-files
	@rm -f $(package)/*.deb
	@cd $(package) && umask 022 && cpack
	@packaging/make_update_image.sh $(package)/Vaelix.app $(package)/Vaelix.dmg
	@lintian --fail-on error $(package)/*.deb
	@ls -l $(package)/*.deb $(package)/*.dmg

prove-package: package ## 在最小的 Debian 12 中真实安装、运行并清除安装包（需 root 与网络，数分钟）
	@packaging/prove_package.sh $(package)/*.deb $(package)/Vaelix.dmg

bench: configure ## 构建并运行性能对比
	@cmake --build --preset release
	@tools/bench

fuzz: packages ## 构建模糊测试并各运行一分钟；FUZZ_SECONDS=N 指定秒数，FUZZ_RUNS=N 指定次数
	@tools/fuzz

sanitize: packages ## 以 ASan、UBSan 与 LSan 构建并运行全部测试，再以 TSan 运行有线程的
	@tools/sanitize

lint: lint-format lint-includes lint-qml lint-tidy ## 检查格式、包含方向、QML 与 C++

lint-format: packages
	@tools/lint-format

lint-includes: packages
	@tools/test-check-includes
	@tools/check-includes

lint-qml: configure-tidy
	@tools/lint-qml

lint-tidy: configure-tidy
	@tools/lint-tidy

clean: ## 删除构建目录
	@rm -rf build
