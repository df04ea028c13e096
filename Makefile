# make run 与 make test 之外的目标见 make help。
SHELL := /bin/bash
.SHELLFLAGS := -euo pipefail -c
.DEFAULT_GOAL := help
MAKEFLAGS += --no-print-directory

release := build/release

.PHONY: help packages configure configure-tidy build run test prove bench lint lint-format lint-includes lint-tidy lint-qml clean

help: ## 列出所有目标
	@sed -nE 's/^([a-z-]+):.*## (.*)/make \1\t\2/p' Makefile | expand -t 16

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
	@tests/catalog/prove_openclaw.sh

bench: configure ## 构建并运行性能对比
	@cmake --build --preset release
	@tools/bench

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
